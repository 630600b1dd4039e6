#pragma once

#include "engine/EngineTypes.h"
#include "model/AtRiskSub.h"
#include "viewmodels/CopiedEmail.h"

#include <QAbstractListModel>
#include <QLocale>
#include <QtQml/qqmlregistration.h>

class RevenueEngine;

// The decisions behind the at-risk pane's texts, as pure functions.
namespace AtRiskLogic {

QString sectionTitle(AtRiskKind kind); // "Past due", "Unpaid (Stripe gave up)", ...
// "Next retry in 5d", "Stripe stopped retrying 10d ago", "Never paid · 3d old", ...
QString sinceLabel(const AtRiskSub &sub, Date now);
// "Across 3 subscriptions"
QString subscriptionsLine(qsizetype count);
// A decline that a retry cannot fix: the card itself has to be replaced.
bool isPermanentDecline(const QString &errorDescription);
// The one line shown under a failed retry.
QString retryErrorMessage(const RetryOutcome &outcome);

// What the row's retry control shows.
enum class RetryState { Hidden, NeedsNewCard, Retrying, Retried, Failed, Idle, Throttled };
RetryState retryState(const AtRiskSub &sub, const QSet<QString> &retrying, const QHash<QString, RetryOutcome> &results);
// The button's caption: "Retry now", "Retrying…", "Paid ✓", "Wait 3 s" (never attempted), ...
QString retryLabel(RetryState state, int secondsToWait);

} // namespace AtRiskLogic

// The at-risk pane: a summary, then one header row per kind followed by its subscriptions.
class AtRiskModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(QString totalText READ totalText NOTIFY changed)
    Q_PROPERTY(QString subscriptionsLine READ subscriptionsLine NOTIFY changed)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY changed)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)

public:
    enum Role {
        IsHeaderRole = Qt::UserRole + 1,
        TitleRole,      // header: section title; row: plan label
        DetailRole,     // header: "· 2 · $80/mo"; row: since label
        EmailRole,      // masked in privacy mode; empty: none
        CopiedRole,
        AmountTextRole, // "$ 49/mo" or "49.90/mo"
        CurrencyCodeRole, // empty for US dollars
        AccountNameRole,
        LetterRole,
        LetterColorRole,
        IconSourceRole,
        RetryStateRole, // "hidden", "needsNewCard", "retrying", "retried", "failed", "idle", "throttled"
        RetryLabelRole,
        ErrorTextRole,
        LinkUrlRole,
        LastInSectionRole,
    };

    AtRiskModel(RevenueEngine *engine, QLocale locale, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    QString totalText() const;
    QString subscriptionsLine() const;
    bool isLoading() const;
    bool isEmpty() const;

    Q_INVOKABLE void retry(int row);
    Q_INVOKABLE void copyEmail(int row);
    void rebuild();

Q_SIGNALS:
    void changed();

private:
    struct Row
    {
        std::optional<AtRiskKind> header; // set: a section header
        qsizetype sub = -1;               // else: position in the engine's atRiskSubs
        int count = 0;                    // header: subscriptions in the section
        double monthlyUSD = 0;            // header: their sum
        bool lastInSection = false;
    };

    RevenueEngine *m_engine;
    QLocale m_locale;
    QList<Row> m_rows;
    QHash<QString, QString> m_iconByAccount;
    CopiedEmail m_copied;
};
