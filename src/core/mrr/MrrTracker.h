#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "mrr/MrrTypes.h"
#include "storage/DamagedFiles.h"
#include "storage/Storage.h"
#include "util/Clock.h"
#include "util/TaskGroup.h"
#include "util/TimeContext.h"

#include <QObject>
#include <functional>
#include <memory>

class StripeSource;

// What the tracker needs from the outside world, handed in by its owner.
struct MrrEnvironment
{
    Storage storage = Storage(Storage::defaultFolder());
    std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    TimeContext calendar;
    // Where an enabled Stripe account's records come from (the REST API or the demo business).
    std::function<std::shared_ptr<const StripeSource>(const Account &)> stripeSource;
};

// Monthly recurring revenue: lists every subscription of the enabled Stripe accounts,
// rebuilds twelve months of MRR and movements from their dates and paid invoices, adds
// PayPal's estimate, keeps one snapshot a day in "mrr_snapshots.json" and publishes the lot
// as one state. The owner calls refresh() after each refresh cycle; listings run at most
// every `minimumListingSeconds`, the figures are recomputed on every call.
class MrrTracker : public QObject
{
    Q_OBJECT
    Q_PROPERTY(MrrState state READ state NOTIFY stateChanged)
    Q_PROPERTY(MrrSettings settings READ settings WRITE setSettings NOTIFY stateChanged)

public:
    static constexpr double minimumListingSeconds = 3600.0;
    // Months the history covers, the running one included.
    static constexpr int historyMonths = 12;

    explicit MrrTracker(MrrEnvironment environment, QObject *parent = nullptr);
    ~MrrTracker() override;

    const MrrState &state() const { return m_state; }
    const MrrSettings &settings() const { return m_settings; }
    // Damage found in the snapshot file when it was read at construction.
    const QList<FileDamage> &damagedFiles() const { return m_damaged; }
    // The menu-bar figure: MRR in the display currency ("$12.3K", "~$450" when estimated).
    QString label(QStringView displayCurrency) const;

    // Recomputes at once from what was listed last.
    void setSettings(const MrrSettings &settings);
    // Starts a refresh owned by the tracker: lists when the last listing is older than
    // minimumListingSeconds (or `force`), then recomputes with `paypalEvents`.
    void startRefresh(const QList<Account> &accounts, const QList<PaymentEvent> &paypalEvents, bool force = false);
    // The same, awaited (tests and the owner's own tasks).
    QCoro::Task<> refresh(QList<Account> accounts, QList<PaymentEvent> paypalEvents, bool force,
                          CancellationToken token);

Q_SIGNALS:
    void stateChanged();
    // MRR went from below the goal to it or above.
    void goalReached(double goalUsd);

private:
    struct Inputs;
    void recompute();
    void setLoading(bool loading, std::optional<QString> error);

    MrrEnvironment m_env;
    MrrSettings m_settings;
    MrrState m_state;
    QList<FileDamage> m_damaged;
    std::unique_ptr<Inputs> m_inputs;
    std::optional<double> m_listedAt; // monotonic seconds
    bool m_listingRunning = false;
    TaskGroup m_tasks; // declared last: its tasks stop before the state they write
};
