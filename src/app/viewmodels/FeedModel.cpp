#include "FeedModel.h"

#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QUrl>

using namespace Qt::StringLiterals;

FeedModel::FeedModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QAbstractListModel(parent)
    , m_engine(engine)
    , m_locale(std::move(locale))
{
    connect(&m_copied, &CopiedEmail::changed, this, [this] {
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1), {CopiedRole});
    });
    rebuild();
}

void FeedModel::rebuild()
{
    beginResetModel();
    m_rows.clear();
    m_iconFiles.clear();
    const QList<qsizetype> indices = m_engine->filteredFeedIndices();
    const QList<PaymentEvent> &feed = m_engine->feed();
    const Date start = m_engine->startDate(m_engine->preferences().selectedRange);
    QList<Row> older;
    for (qsizetype i : indices) {
        if (feed.at(i).date < start)
            older.append(Row{i});
        else
            m_rows.append(Row{i});
    }
    m_inRangeCount = static_cast<int>(m_rows.size());
    m_olderCount = static_cast<int>(older.size());
    if (!m_rows.isEmpty() && !older.isEmpty())
        m_rows.append(Row{-1});
    m_rows.append(older);

    const QDir icons(m_engine->storage().iconsDir());
    for (const Account &account : m_engine->accounts()) {
        const QString file = icons.filePath(uuidText(account.id).toLower() + u".png"_s);
        const QString upper = icons.filePath(uuidText(account.id) + u".png"_s);
        if (QFileInfo::exists(upper))
            m_iconFiles.insert(account.id, upper);
        else if (QFileInfo::exists(file))
            m_iconFiles.insert(account.id, file);
    }
    endResetModel();
    Q_EMIT layoutRebuilt();
}

int FeedModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QString FeedModel::iconFileFor(const QUuid &accountId) const
{
    return m_iconFiles.value(accountId);
}

static QString badgeSymbol(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::Churn: return u"xmark"_s;
    case RevenueKind::Failed: return u"exclamationmark"_s;
    case RevenueKind::Refund: return u"arrow.uturn.left"_s;
    default: return {};
    }
}

QVariant FeedModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    if (row.feedIndex < 0) {
        switch (role) {
        case IsDividerRole: return true;
        case DividerTextRole:
            return QString(u"Older than "_s + Formatting::rangeMenuLabel(m_engine->preferences().selectedRange).toLower());
        case HairlineRole: return false;
        default: return QVariant();
        }
    }
    const PaymentEvent &event = m_engine->feed().at(row.feedIndex);
    const Preferences &prefs = m_engine->preferences();
    const bool isUsd = event.currency.toLower() == u"usd"_s;
    switch (role) {
    case IsDividerRole: return false;
    case DividerTextRole: return QString();
    case EventIdRole: return event.id;
    case DescriptionRole:
        // Plan descriptions quote prices: "1 × Pro (at $49.00 / month)".
        return prefs.privacyMode ? CurrencyConverter::maskAmounts(event.description) : event.description;
    case DateLabelRole:
        return Formatting::eventDateLabel(event.date, m_engine->now(), m_engine->calendar(), m_locale);
    case AmountTextRole: {
        if (prefs.privacyMode)
            return CurrencyConverter::mask(event.currency);
        const QString number = Formatting::formatNative(std::abs(event.amount), m_locale);
        if (isUsd)
            return event.kind == RevenueKind::Churn ? Formatting::negated(u"$ "_s + number) : QString(u"$ "_s + number);
        return number;
    }
    case CurrencyCodeRole: {
        if (prefs.privacyMode || isUsd)
            return QString();
        // Such an event counts as nothing in the totals; the row says so beside its code.
        return CurrencyConverter::rate(event.currency) ? event.currency.toUpper()
                                                       : event.currency.toUpper() + u" not converted"_s;
    }
    case AmountColorRole: {
        // Primary comes from the theme; transparent tells the view to use it.
        return Formatting::kindAmountColor(event.kind, QColor(Qt::transparent));
    }
    case KindRole: return toRaw(event.kind);
    case LetterRole: return event.accountName.isEmpty() ? QString() : event.accountName.left(1).toUpper();
    case LetterColorRole: return Formatting::providerColor(event.accountName);
    case IconSourceRole: {
        const QString file = iconFileFor(event.accountId);
        return file.isEmpty() ? QString() : QUrl::fromLocalFile(file).toString();
    }
    case BadgeColorRole: return Formatting::kindBadgeColor(event.kind);
    case BadgeSymbolRole: return badgeSymbol(event.kind);
    case ExpandedRole: return m_expandedEventId == event.id;
    case HasEmailRole: return event.customerEmail && !event.customerEmail->isEmpty();
    case EmailTextRole: {
        if (!event.customerEmail)
            return QString();
        return prefs.privacyMode ? CurrencyConverter::maskEmail(*event.customerEmail) : *event.customerEmail;
    }
    case CopiedRole: return m_copied.marks(event.customerEmail);
    case AccountNameRole: return event.accountName;
    case IsDemoRole: {
        const QList<Account> &accounts = m_engine->accounts();
        return std::any_of(accounts.begin(), accounts.end(),
                           [&](const Account &a) { return a.id == event.accountId && a.isDemo(); });
    }
    case LinkLabelRole: {
        const auto link = event.dashboardLink();
        return link ? Formatting::linkLabel(*link) : QString();
    }
    case LinkUrlRole: return event.dashboardLink().value_or(QUrl());
    case HairlineRole: {
        // A hairline separates two event rows; none after the last row or next to the divider.
        const int next = index.row() + 1;
        return next < m_rows.size() && m_rows.at(next).feedIndex >= 0;
    }
    }
    return {};
}

QHash<int, QByteArray> FeedModel::roleNames() const
{
    return {
        {IsDividerRole, "isDivider"},       {DividerTextRole, "dividerText"},   {EventIdRole, "eventId"},
        {DescriptionRole, "description"},   {DateLabelRole, "dateLabel"},       {AmountTextRole, "amountText"},
        {CurrencyCodeRole, "currencyCode"}, {AmountColorRole, "amountColor"},   {KindRole, "kind"},
        {LetterRole, "letter"},             {LetterColorRole, "letterColor"},   {IconSourceRole, "iconSource"},
        {BadgeColorRole, "badgeColor"},     {BadgeSymbolRole, "badgeSymbol"},   {ExpandedRole, "expanded"},
        {HasEmailRole, "hasEmail"},         {EmailTextRole, "emailText"},       {CopiedRole, "copied"},
        {AccountNameRole, "accountName"},   {LinkLabelRole, "linkLabel"},       {LinkUrlRole, "linkUrl"},
        {HairlineRole, "hairline"},         {IsDemoRole, "isDemo"},
    };
}

void FeedModel::emitRowChanged(const QString &eventId)
{
    const QList<PaymentEvent> &feed = m_engine->feed();
    for (int r = 0; r < m_rows.size(); ++r) {
        const qsizetype i = m_rows.at(r).feedIndex;
        if (i >= 0 && feed.at(i).id == eventId)
            Q_EMIT dataChanged(index(r), index(r), {ExpandedRole, CopiedRole});
    }
}

void FeedModel::toggle(int row)
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).feedIndex < 0)
        return;
    const QString id = m_engine->feed().at(m_rows.at(row).feedIndex).id;
    const std::optional<QString> previous = m_expandedEventId;
    m_expandedEventId = previous == id ? std::nullopt : std::optional<QString>(id);
    if (previous)
        emitRowChanged(*previous);
    if (previous != id)
        emitRowChanged(id);
}

void FeedModel::open(const QString &eventId)
{
    const std::optional<QString> previous = std::exchange(m_expandedEventId, eventId);
    if (previous && previous != eventId)
        emitRowChanged(*previous);
    emitRowChanged(eventId);
}

void FeedModel::copyEmail(int row)
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).feedIndex < 0)
        return;
    m_copied.copy(m_engine->feed().at(m_rows.at(row).feedIndex).customerEmail);
}

void FeedModel::refreshDateLabels()
{
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0), index(static_cast<int>(m_rows.size()) - 1), {DateLabelRole});
}
