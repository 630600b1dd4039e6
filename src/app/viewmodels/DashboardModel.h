#pragma once

#include "engine/EngineTypes.h"
#include "model/Account.h"
#include "model/Preferences.h"
#include "viewmodels/ChartModel.h"
#include "viewmodels/ChoiceListModel.h"
#include "viewmodels/DatePickerModel.h"
#include "viewmodels/ErrorSummary.h"
#include "viewmodels/FeedModel.h"
#include "viewmodels/TilesModel.h"

#include <QObject>
#include <QTimer>

class RevenueEngine;

// The decisions behind the dashboard's texts, as pure functions.
namespace DashboardLogic {

// The range reaches back past the 30 days the events API covers.
bool rangeHasHistoricalLimit(TimeRange range, Date customStart, Date now, const TimeContext &calendar);
// ...and the history that fills it is still being fetched.
bool isRangeDataIncomplete(TimeRange range, Date customStart, bool isLoadingHistoricalGap, Date now,
                           const TimeContext &calendar);
QString accountFilterLabel(const QList<Account> &accounts, const std::optional<QUuid> &filter);

struct Headline
{
    enum class State { Amount, Loading, Unavailable, NoAccount };
    State state = State::Amount;
    QString amount;
    QString churnLine; // empty: not shown
    friend bool operator==(const Headline &, const Headline &) = default;
};
Headline headline(const Totals &totals, const QSet<RevenueKind> &unavailable, const Preferences &preferences,
                  bool isRangeDataIncomplete);

} // namespace DashboardLogic

// Everything the dashboard pane shows, derived from the engine; the pane's operations.
class DashboardModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")

    Q_PROPERTY(QString rangeTitle READ rangeTitle NOTIFY changed)
    Q_PROPERTY(QString headlineState READ headlineState NOTIFY changed)
    Q_PROPERTY(QString headlineAmount READ headlineAmount NOTIFY changed)
    Q_PROPERTY(QString churnLine READ churnLine NOTIFY changed)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed)
    Q_PROPERTY(QString progressText READ progressText NOTIFY changed)
    Q_PROPERTY(QString elapsedText READ elapsedText NOTIFY clockTicked)
    Q_PROPERTY(QString updatedText READ updatedText NOTIFY clockTicked)
    Q_PROPERTY(QString tookText READ tookText NOTIFY changed)
    Q_PROPERTY(bool isFillingHistory READ isFillingHistory NOTIFY changed)
    Q_PROPERTY(bool hasAccounts READ hasAccounts NOTIFY changed)
    Q_PROPERTY(bool showsDemo READ showsDemo NOTIFY changed)
    Q_PROPERTY(bool offersDemoRemoval READ offersDemoRemoval NOTIFY changed)
    Q_PROPERTY(QString accountFilterLabel READ accountFilterLabel NOTIFY changed)
    Q_PROPERTY(QString rangeLabel READ rangeLabel NOTIFY changed)
    Q_PROPERTY(bool isCustomRange READ isCustomRange NOTIFY changed)
    Q_PROPERTY(bool isRangeDataIncomplete READ isRangeDataIncomplete NOTIFY changed)
    Q_PROPERTY(bool rangeHasHistoricalLimit READ rangeHasHistoricalLimit NOTIFY changed)
    Q_PROPERTY(int feedCount READ feedCount NOTIFY changed)
    Q_PROPERTY(QString lastError READ lastError NOTIFY changed)
    Q_PROPERTY(QString errorSummary READ errorSummary NOTIFY changed)
    Q_PROPERTY(QString errorDetails READ errorDetails NOTIFY changed)
    // "Edit account" while a key was refused, else "Try again".
    Q_PROPERTY(QString errorActionText READ errorActionText NOTIFY changed)
    Q_PROPERTY(QString feedEmptyText READ feedEmptyText NOTIFY changed)
    Q_PROPERTY(QString notesText READ notesText NOTIFY changed)
    Q_PROPERTY(bool privacyMode READ privacyMode NOTIFY changed)
    Q_PROPERTY(QString privacySymbol READ privacySymbol NOTIFY changed)
    Q_PROPERTY(QString privacyTooltip READ privacyTooltip NOTIFY changed)
    Q_PROPERTY(bool hasAtRisk READ hasAtRisk NOTIFY changed)
    Q_PROPERTY(QString atRiskLine READ atRiskLine NOTIFY changed)
    Q_PROPERTY(QString atRiskAmountLine READ atRiskAmountLine NOTIFY changed)
    Q_PROPERTY(QString atRiskTooltip READ atRiskTooltip NOTIFY changed)
    Q_PROPERTY(ChoiceListModel *accountFilters READ accountFilters CONSTANT)
    Q_PROPERTY(ChoiceListModel *ranges READ ranges CONSTANT)
    Q_PROPERTY(TilesModel *tiles READ tiles CONSTANT)
    Q_PROPERTY(FeedModel *feed READ feed CONSTANT)
    Q_PROPERTY(ChartModel *chart READ chart CONSTANT)
    Q_PROPERTY(DatePickerModel *customStart READ customStart CONSTANT)
    Q_PROPERTY(DatePickerModel *customEnd READ customEnd CONSTANT)

public:
    DashboardModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);

    QString rangeTitle() const;
    QString headlineState() const;
    QString headlineAmount() const { return m_headline.amount; }
    QString churnLine() const { return m_headline.churnLine; }
    bool isLoading() const;
    QString progressText() const;
    QString elapsedText() const;
    QString updatedText() const;
    QString tookText() const;
    bool isFillingHistory() const;
    bool hasAccounts() const;
    // The figures include the demo business's made-up money.
    bool showsDemo() const;
    // The user's own account is connected next to the demo: offer to remove the demo, until
    // they answer.
    bool offersDemoRemoval() const;
    QString accountFilterLabel() const;
    QString rangeLabel() const;
    bool isCustomRange() const;
    bool isRangeDataIncomplete() const;
    bool rangeHasHistoricalLimit() const;
    int feedCount() const;
    QString lastError() const;
    QString errorSummary() const;
    QString errorDetails() const;
    QString errorActionText() const;
    // The failed refresh in plain words, with the accounts' providers filled in.
    ErrorSummary error() const;
    // Why the feed is empty: still pulling, a failed load, or nothing there.
    QString feedEmptyText() const;
    // Plain-words notes about data that was not used as it is: damaged files kept aside,
    // payments in unknown currencies, records a load could not read.
    QString notesText() const;
    bool privacyMode() const;
    QString privacySymbol() const;
    QString privacyTooltip() const;
    // The at-risk banner and footer button: shown while anything is recoverable.
    bool hasAtRisk() const;
    QString atRiskLine() const;       // "At risk · 2 subscriptions"
    QString atRiskAmountLine() const; // "$129/mo potentially recoverable"
    QString atRiskTooltip() const;
    ChoiceListModel *accountFilters() { return &m_accountFilters; }
    ChoiceListModel *ranges() { return &m_ranges; }
    TilesModel *tiles() { return &m_tiles; }
    FeedModel *feed() { return &m_feed; }
    ChartModel *chart() { return &m_chart; }
    DatePickerModel *customStart() { return &m_customStart; }
    DatePickerModel *customEnd() { return &m_customEnd; }

    Q_INVOKABLE void togglePrivacy();
    Q_INVOKABLE void refresh();
    // Adds the built-in demo business and loads it.
    Q_INVOKABLE void tryDemo();
    Q_INVOKABLE void removeDemo();
    Q_INVOKABLE void keepDemo();
    Q_INVOKABLE void cancelRefresh();
    // The error banner's button: opens the refused account's editor, or refreshes again.
    Q_INVOKABLE void actOnError();
    void selectRange(TimeRange range);
    void setCustomRange(QDate start, QDate end);

Q_SIGNALS:
    void changed();
    void clockTicked();
    void accountEditRequested(const QUuid &accountId);

private:
    void recompute();
    void rebuildLists();
    void updateTimers();
    void updatePickers();
    void savePreferences(const std::function<void(Preferences &)> &edit);

    RevenueEngine *m_engine;
    QLocale m_locale;
    ChoiceListModel m_accountFilters;
    ChoiceListModel m_ranges;
    TilesModel m_tiles;
    FeedModel m_feed;
    ChartModel m_chart;
    DatePickerModel m_customStart;
    DatePickerModel m_customEnd;
    DashboardLogic::Headline m_headline;
    QTimer m_secondTimer;
    QTimer m_minuteTimer;
    bool m_demoKept = false;
};
