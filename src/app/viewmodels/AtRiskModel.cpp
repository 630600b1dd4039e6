#include "AtRiskModel.h"

#include "engine/AtRiskSubscriptions.h"
#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

#include <QColor>
#include <QDir>
#include <cmath>

using namespace Qt::StringLiterals;

namespace AtRiskLogic {

QString sectionTitle(AtRiskKind kind)
{
    switch (kind) {
    case AtRiskKind::PastDue: return u"Past due"_s;
    case AtRiskKind::Unpaid: return u"Unpaid (Stripe gave up)"_s;
    case AtRiskKind::Incomplete: return u"Never paid"_s;
    case AtRiskKind::CanceledPayment: return u"Canceled \u2014 payment failed"_s;
    }
    return {};
}

QString sinceLabel(const AtRiskSub &sub, Date now)
{
    if (sub.kind == AtRiskKind::PastDue) {
        // For a past-due subscription the date is Stripe's next automatic attempt.
        const double days = std::trunc(sub.sinceDate.secondsSince(now) / 86400);
        return days < 1 ? u"Next retry imminent"_s : u"Next retry in %1d"_s.arg(qint64(days));
    }
    const qint64 days = std::max<qint64>(0, qint64(std::trunc(now.secondsSince(sub.sinceDate) / 86400)));
    switch (sub.kind) {
    case AtRiskKind::Unpaid: return u"Stripe stopped retrying %1d ago"_s.arg(days);
    case AtRiskKind::Incomplete: return u"Never paid \u00B7 %1d old"_s.arg(days);
    default: return u"Canceled %1d ago (payment failed)"_s.arg(days);
    }
}

QString subscriptionsLine(qsizetype count)
{
    return u"Across %1 subscription%2"_s.arg(QString::number(count), count == 1 ? QString() : u"s"_s);
}

bool isPermanentDecline(const QString &errorDescription)
{
    static const char *const codes[] = {
        "insufficient_funds", "card_declined", "expired_card", "incorrect_cvc", "lost_card", "stolen_card",
        "do_not_honor", "fraudulent", "generic_decline", "pickup_card", "currency_not_supported", "incorrect_number",
        "invalid_account", "new_account_information_available", "withdrawal_count_limit_exceeded",
        "transaction_not_allowed", "service_not_allowed", "duplicate_transaction", "authentication_required"};
    return std::any_of(std::begin(codes), std::end(codes),
                       [&](const char *code) { return errorDescription.contains(QLatin1StringView(code)); });
}

QString retryErrorMessage(const RetryOutcome &outcome)
{
    const QString &text = outcome.errorDescription;
    if (outcome.throttled)
        return text;
    if (text.contains(u"permission"_s) || text.contains(u"does not have"_s) || text.contains(u"scope"_s))
        return u"Restricted key is missing the `Invoice \u2192 Write` scope. Edit the key in Stripe and set "
               u"Invoice \u2192 Write."_s;
    if (auto sentence = AtRiskSubscriptions::errorSentence(text))
        return *sentence;
    return text.left(180);
}

RetryState retryState(const AtRiskSub &sub, const QSet<QString> &retrying, const QHash<QString, RetryOutcome> &results)
{
    if (sub.kind == AtRiskKind::CanceledPayment || !sub.latestInvoiceId)
        return RetryState::Hidden;
    const auto result = results.constFind(sub.id);
    const bool failed = result != results.cend() && !result->succeeded;
    if (failed && result->throttled)
        return RetryState::Throttled;
    if (failed && isPermanentDecline(result->errorDescription))
        return RetryState::NeedsNewCard;
    if (retrying.contains(*sub.latestInvoiceId))
        return RetryState::Retrying;
    if (result == results.cend())
        return RetryState::Idle;
    return failed ? RetryState::Failed : RetryState::Retried;
}

QString retryLabel(RetryState state, int secondsToWait)
{
    switch (state) {
    case RetryState::Retrying: return u"Retrying\u2026"_s;
    case RetryState::Retried: return u"Paid \u2713"_s;
    case RetryState::Failed: return u"Retry failed"_s;
    case RetryState::Throttled: return u"Wait %1 s"_s.arg(secondsToWait);
    default: return u"Retry now"_s;
    }
}

} // namespace AtRiskLogic

AtRiskModel::AtRiskModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QAbstractListModel(parent)
    , m_engine(engine)
    , m_locale(std::move(locale))
{
    connect(&m_copied, &CopiedEmail::changed, this, [this] {
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1), {CopiedRole});
    });
    for (auto signal : {&RevenueEngine::atRiskSubsChanged, &RevenueEngine::accountsChanged})
        connect(engine, signal, this, &AtRiskModel::rebuild);
    for (auto signal : {&RevenueEngine::retryingInvoiceIdsChanged, &RevenueEngine::retryResultsChanged,
                        &RevenueEngine::preferencesChanged}) {
        connect(engine, signal, this, [this] {
            if (!m_rows.isEmpty())
                Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1));
            Q_EMIT changed();
        });
    }
    connect(engine, &RevenueEngine::isLoadingAtRiskChanged, this, &AtRiskModel::changed);
    rebuild();
}

void AtRiskModel::rebuild()
{
    beginResetModel();
    m_rows.clear();
    const QList<AtRiskSub> &subs = m_engine->atRiskSubs();
    for (AtRiskKind kind : {AtRiskKind::PastDue, AtRiskKind::Unpaid, AtRiskKind::Incomplete, AtRiskKind::CanceledPayment}) {
        const qsizetype headerAt = m_rows.size();
        for (qsizetype i = 0; i < subs.size(); ++i) {
            if (subs[i].kind != kind)
                continue;
            if (m_rows.size() == headerAt)
                m_rows.append(Row{kind});
            m_rows[headerAt].count += 1;
            m_rows[headerAt].monthlyUSD += subs[i].monthlyUSD;
            m_rows.append(Row{std::nullopt, i});
        }
        if (m_rows.size() > headerAt)
            m_rows.last().lastInSection = true;
    }
    m_iconByAccount.clear();
    const QDir icons(m_engine->storage().iconsDir());
    for (const Account &account : m_engine->accounts()) {
        const QString id = account.id.toString(QUuid::WithoutBraces);
        for (const QString &name : {id.toUpper(), id.toLower()}) {
            const QString file = icons.filePath(name + u".png"_s);
            if (QFileInfo::exists(file)) {
                m_iconByAccount.insert(account.id.toString(), QUrl::fromLocalFile(file).toString());
                break;
            }
        }
    }
    endResetModel();
    Q_EMIT changed();
}

QString AtRiskModel::totalText() const
{
    return Formatting::formatMoney(m_engine->atRiskMonthlyTotalUSD(), m_engine->preferences());
}

QString AtRiskModel::subscriptionsLine() const
{
    return AtRiskLogic::subscriptionsLine(m_engine->atRiskSubs().size());
}

bool AtRiskModel::isLoading() const
{
    return m_engine->isLoadingAtRisk();
}

bool AtRiskModel::isEmpty() const
{
    return m_engine->atRiskSubs().isEmpty();
}

int AtRiskModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant AtRiskModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    const Preferences &prefs = m_engine->preferences();
    if (row.header) {
        switch (role) {
        case IsHeaderRole: return true;
        case Qt::DisplayRole:
        case TitleRole: return AtRiskLogic::sectionTitle(*row.header);
        case DetailRole:
            return u"\u00B7 %1 \u00B7 %2/mo"_s.arg(QString::number(row.count), Formatting::formatMoney(row.monthlyUSD, prefs));
        case RetryStateRole: return u"hidden"_s;
        case CopiedRole:
        case LastInSectionRole: return false;
        case LetterColorRole: return QColor();
        case LinkUrlRole: return QUrl();
        }
        // Delegates bind every role: a header answers the others with empty text.
        return role > Qt::UserRole && role <= LastInSectionRole ? QVariant(QString()) : QVariant();
    }
    const AtRiskSub &sub = m_engine->atRiskSubs().at(row.sub);
    const bool usd = sub.currency.toLower() == u"usd";
    switch (role) {
    case IsHeaderRole: return false;
    case Qt::DisplayRole:
    case TitleRole: return prefs.privacyMode ? CurrencyConverter::maskAmounts(sub.planLabel) : sub.planLabel;
    case DetailRole: return AtRiskLogic::sinceLabel(sub, m_engine->now());
    case EmailRole: {
        const QString email = sub.customerEmail.value_or(QString());
        return prefs.privacyMode ? CurrencyConverter::maskEmail(email) : email;
    }
    case CopiedRole: return m_copied.marks(sub.customerEmail);
    case AmountTextRole:
        if (prefs.privacyMode)
            return QString(CurrencyConverter::mask(sub.currency) + u"/mo"_s);
        return QString((usd ? u"$ "_s : QString()) + Formatting::formatNative(sub.monthlyAmount, m_locale) + u"/mo"_s);
    case CurrencyCodeRole: return usd || prefs.privacyMode ? QString() : sub.currency.toUpper();
    case AccountNameRole: return sub.accountName;
    case LetterRole: return sub.accountName.left(1).toUpper();
    case LetterColorRole: return Formatting::providerColor(sub.accountName);
    case IconSourceRole: return m_iconByAccount.value(sub.accountId.toString());
    case RetryStateRole: {
        static const char *const names[] = {"hidden", "needsNewCard", "retrying", "retried", "failed", "idle", "throttled"};
        return QString::fromLatin1(
            names[int(AtRiskLogic::retryState(sub, m_engine->retryingInvoiceIds(), m_engine->retryResults()))]);
    }
    case RetryLabelRole:
        return AtRiskLogic::retryLabel(AtRiskLogic::retryState(sub, m_engine->retryingInvoiceIds(), m_engine->retryResults()),
                                       m_engine->retryResults().value(sub.id).secondsToWait);
    case ErrorTextRole: {
        const auto result = m_engine->retryResults().constFind(sub.id);
        if (result == m_engine->retryResults().cend() || result->succeeded)
            return QString();
        const QString message = AtRiskLogic::retryErrorMessage(*result);
        return prefs.privacyMode ? CurrencyConverter::maskAmounts(message) : message;
    }
    case LinkUrlRole: return sub.dashboardURL.value_or(QUrl());
    case LastInSectionRole: return row.lastInSection;
    }
    return {};
}

QHash<int, QByteArray> AtRiskModel::roleNames() const
{
    return {{IsHeaderRole, "isHeader"},         {TitleRole, "title"},           {DetailRole, "detail"},
            {EmailRole, "email"},               {CopiedRole, "copied"},         {AmountTextRole, "amountText"},
            {CurrencyCodeRole, "currencyCode"}, {AccountNameRole, "accountName"}, {LetterRole, "letter"},
            {LetterColorRole, "letterColor"},   {IconSourceRole, "iconSource"}, {RetryStateRole, "retryState"},
            {ErrorTextRole, "errorText"},       {LinkUrlRole, "linkUrl"},       {LastInSectionRole, "lastInSection"},
            {RetryLabelRole, "retryLabel"}};
}

void AtRiskModel::retry(int row)
{
    if (row < 0 || row >= m_rows.size() || m_rows[row].header)
        return;
    m_engine->startRetry(m_engine->atRiskSubs().at(m_rows[row].sub));
}

void AtRiskModel::copyEmail(int row)
{
    if (row < 0 || row >= m_rows.size() || m_rows[row].header)
        return;
    m_copied.copy(m_engine->atRiskSubs().at(m_rows[row].sub).customerEmail);
}
