#pragma once

#include "model/Achievement.h"
#include "model/Preferences.h"
#include "viewmodels/DatePickerModel.h"

#include <QObject>
#include <QVariantList>
#include <array>

class RevenueEngine;

// The decisions behind the achievements pane, as pure functions.
namespace AchievementsLogic {

// Under a current figure: "New best" when it reaches a positive best, "First record" when
// there is none yet, otherwise "Best {amount}".
struct Caption
{
    QString text;
    bool isNewBest = false;
    friend bool operator==(const Caption &, const Caption &) = default;
};
Caption caption(double current, double best, const Preferences &preferences);

struct NextUp
{
    AchievementPeriod period;
    double threshold = 0;
    double fraction = 0; // of the way there, 0...1
    QString title;       // "$1,000"
    QString periodName;  // "in a day", "in a week", "in a month"
    QString percent;     // "42%"
    QString toGo;        // "Today $420 · $580 to go"
};
// One row per period that still has a milestone above its record, in day, week, month order:
// how far the current day, week and month (`current`, in US dollars) are on the way to it.
QList<NextUp> nextUp(const AchievementsState &state, const std::array<double, 3> &current,
                     const Preferences &preferences);

// Hand edits are typed in the dashboard currency and stored in US dollars.
double inputAmount(double usd, const QString &currency);
double inputUSD(double amount, const QString &currency);
// "1,250" → 1250; empty, unreadable, zero or negative → none.
std::optional<double> parseDraft(QString text);
// Why a typed record would not be stored, in the user's words; empty when it would (or, left
// empty, keeps the record as it is). `recordUSD` is the stored record.
QString draftProblem(const QString &text, double recordUSD, const Preferences &preferences);

struct Draft
{
    QString amount;
    QDate date;
};
// Applies the drafts (day, week, month) to `state`: a draft only ever raises a record.
AchievementsState applyDrafts(AchievementsState state, const std::array<Draft, 3> &drafts, const QString &currency,
                              const TimeContext &calendar);

} // namespace AchievementsLogic

// The achievements pane: current figures against the records, next milestones, unlocked
// milestones, and the editor for hand-entered records.
class AchievementsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(QVariantList current READ current NOTIFY changed)
    Q_PROPERTY(QVariantList nextUp READ nextUpRows NOTIFY changed)
    Q_PROPERTY(QVariantList unlocked READ unlocked NOTIFY changed)
    Q_PROPERTY(bool editing READ editing NOTIFY editingChanged)
    Q_PROPERTY(QString currencySymbol READ currencySymbol NOTIFY changed)
    Q_PROPERTY(QString dayDraft MEMBER m_dayDraft NOTIFY editingChanged)
    Q_PROPERTY(QString weekDraft MEMBER m_weekDraft NOTIFY editingChanged)
    Q_PROPERTY(QString monthDraft MEMBER m_monthDraft NOTIFY editingChanged)
    // Per draft (day, week, month) why it would not be stored; Save waits until all are empty.
    Q_PROPERTY(QStringList draftProblems READ draftProblems NOTIFY editingChanged)
    Q_PROPERTY(bool canSave READ canSave NOTIFY editingChanged)
    Q_PROPERTY(DatePickerModel *dayDate READ dayDate CONSTANT)
    Q_PROPERTY(DatePickerModel *weekDate READ weekDate CONSTANT)
    Q_PROPERTY(DatePickerModel *monthDate READ monthDate CONSTANT)

public:
    AchievementsModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);

    QVariantList current() const;
    QVariantList nextUpRows() const;
    QVariantList unlocked() const;
    bool editing() const { return m_editing; }
    QString currencySymbol() const;
    QStringList draftProblems() const;
    bool canSave() const;
    DatePickerModel *dayDate() { return &m_dates[0]; }
    DatePickerModel *weekDate() { return &m_dates[1]; }
    DatePickerModel *monthDate() { return &m_dates[2]; }

    // Not editing: fills the drafts from the records (left empty in privacy mode) and starts
    // editing. Editing: saves the drafts through the engine and stops, unless a draft would not
    // be stored (its reason shows beside it).
    Q_INVOKABLE void toggleEditing();
    // Leaving the pane while editing drops the drafts.
    Q_INVOKABLE void discardEditing();
    void setDrafts(const QString &day, const QString &week, const QString &month);

Q_SIGNALS:
    void changed();
    void editingChanged();

private:
    void loadDrafts();
    void saveDrafts();

    RevenueEngine *m_engine;
    QLocale m_locale;
    bool m_editing = false;
    QString m_dayDraft;
    QString m_weekDraft;
    QString m_monthDraft;
    std::array<DatePickerModel, 3> m_dates;
};
