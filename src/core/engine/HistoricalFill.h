#pragma once

#include "engine/GapFill.h"
#include "model/Account.h"
#include "util/Cancellation.h"
#include "util/Clock.h"
#include "util/TaskGroup.h"
#include "util/TimeContext.h"

#include <QCoroTask>
#include <QObject>
#include <functional>
#include <memory>

class StripeError;
class StripeSources;

// The historical gap fill: after a successful refresh, the 31–90-day range is rebuilt from
// each enabled Stripe account's succeeded charges, once per process and again for an account
// added later.
class HistoricalFill : public QObject
{
    Q_OBJECT

public:
    static constexpr int deepLookbackDays = 90;

    struct Neighbours
    {
        std::function<QList<Account>()> accounts;
        // Why an account's older history is missing, for the user.
        std::function<void(const Account &, const QString &listing, const StripeError &)> reportListingFailure;
        std::function<void(const QUuid &accountId)> markMissingEventScope;
        // Takes the filled events into the feed, in one step: nothing suspends around it.
        std::function<void(const QList<GapFill::HistoricalEvent> &)> adopt;
    };

    // `sources` outlives this.
    HistoricalFill(Neighbours neighbours, const StripeSources &sources, TimeContext calendar,
                   std::shared_ptr<Clock> clock, QObject *parent = nullptr);

    bool isLoading() const { return m_isLoading; }
    // Whether a fill is still to run: none has covered every enabled Stripe account yet.
    bool isDue() const { return !m_filled; }
    // A new account's older history is fetched like everyone's at start.
    void markDue() { m_filled = false; }
    // Starts a fill unless one runs; without an enabled Stripe account it stays due.
    void start();

Q_SIGNALS:
    void isLoadingChanged();

private:
    QCoro::Task<> runHistoricalGapFill(QList<Account> accounts, GapFill::Window window, CancellationToken token);
    void setLoading(bool loading);

    Neighbours m_neighbours;
    const StripeSources &m_sources;
    TimeContext m_calendar;
    std::shared_ptr<Clock> m_clock;
    bool m_isLoading = false;
    bool m_filled = false;
    // Declared last so it goes first: nobody awaits the fill; this group owns it and cancels it.
    TaskGroup m_tasks;
};
