#include "DrillDownModel.h"

#include "engine/CsvExport.h"
#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace DrillDownLogic {

QString title(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::New: return u"New customers"_s;
    case RevenueKind::Recurring: return u"Recurring renewals"_s;
    case RevenueKind::Churn: return u"Canceled subscriptions"_s;
    case RevenueKind::Failed: return u"Failed payments"_s;
    case RevenueKind::Refund: return u"Refunds"_s;
    }
    return {};
}

QString countWord(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::New: return u"new"_s;
    case RevenueKind::Recurring: return u"renewal"_s;
    case RevenueKind::Churn: return u"cancel"_s;
    case RevenueKind::Failed: return u"failed"_s;
    case RevenueKind::Refund: return u"refund"_s;
    }
    return {};
}

QString summaryLine(qsizetype groups, qsizetype events)
{
    return u"%1 unique customer%2 · %3 event%4"_s.arg(QString::number(groups), groups == 1 ? QString() : u"s"_s,
                                                      QString::number(events), events == 1 ? QString() : u"s"_s);
}

QString emptyText(RevenueKind kind)
{
    return u"No "_s + title(kind).toLower() + u" in this range."_s;
}

QString suggestedFileName(const QString &what, RevenueKind kind, QDate today)
{
    const QString stem = what == u"events"_s ? u"events"_s : title(kind).toLower().replace(u' ', u'-');
    return u"%1-%2.csv"_s.arg(stem, today.toString(Qt::ISODate));
}

QString exportFolder(const QStringList &folders)
{
    for (const QString &folder : folders)
        if (!folder.isEmpty() && QFileInfo(folder).isDir())
            return folder;
    return QDir::homePath();
}

std::optional<QString> writeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    if (file.write(bytes) != bytes.size()) {
        const QString error = file.errorString();
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace DrillDownLogic

static constexpr RevenueKind allKinds[] = {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Churn,
                                           RevenueKind::Failed, RevenueKind::Refund};

DrillDownModel::DrillDownModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QAbstractListModel(parent)
    , m_engine(engine)
    , m_locale(std::move(locale))
{
    connect(&m_copied, &CopiedEmail::changed, this, [this] {
        if (!m_groups.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_groups.size()) - 1), {CopiedRole});
    });
    connect(&m_kinds, &ChoiceListModel::chosen, this,
            [this](int row) { Q_EMIT kindRequested(toRaw(allKinds[row])); });
    connect(engine, &RevenueEngine::feedChanged, this, [this] {
        m_customers = {};
        rebuild();
    });
    for (auto signal : {&RevenueEngine::preferencesChanged, &RevenueEngine::selectedAccountFilterChanged,
                        &RevenueEngine::accountsChanged})
        connect(engine, signal, this, &DrillDownModel::rebuild);
    rebuild();
}

DrillDownModel::~DrillDownModel()
{
    delete m_dialog;
}

QList<qsizetype> DrillDownModel::rangeEvents(std::optional<RevenueKind> kind) const
{
    const TimeRange range = m_engine->preferences().selectedRange;
    return DrillDown::events(m_engine->feed(), {kind, m_engine->startDate(range), m_engine->endDate(range),
                                                m_engine->selectedAccountFilter()});
}

void DrillDownModel::rebuild()
{
    beginResetModel();
    const QList<qsizetype> events = rangeEvents(m_kind);
    m_eventCount = events.size();
    if (m_customers.customerOf.size() != m_engine->feed().size())
        m_customers = DrillDown::customerIndex(m_engine->feed());
    m_groups = DrillDown::groups(m_engine->feed(), m_customers, events);
    m_iconByAccountName.clear();
    const QDir icons(m_engine->storage().iconsDir());
    for (const Account &account : m_engine->accounts()) {
        const QString file = icons.filePath(uuidText(account.id) + u".png"_s);
        const QString lower = icons.filePath(uuidText(account.id).toLower() + u".png"_s);
        if (QFileInfo::exists(file))
            m_iconByAccountName.insert(account.name, file);
        else if (QFileInfo::exists(lower))
            m_iconByAccountName.insert(account.name, lower);
    }
    endResetModel();
    QList<ChoiceListModel::Item> kinds;
    for (RevenueKind kind : allKinds)
        kinds.append({Formatting::kindName(kind).toUpper(), kind == m_kind, false, QString()});
    m_kinds.setItems(kinds);
    Q_EMIT changed();
}

void DrillDownModel::setKind(RevenueKind kind)
{
    if (kind == m_kind)
        return;
    m_kind = kind;
    m_copied.clear();
    rebuild();
}

QString DrillDownModel::kindName() const
{
    return toRaw(m_kind);
}

void DrillDownModel::setKindName(const QString &raw)
{
    if (auto kind = fromRaw<RevenueKind>(raw))
        setKind(*kind);
}

QString DrillDownModel::totalText() const
{
    double usd = 0;
    for (const CustomerGroup &g : m_groups)
        usd += g.totalUSD;
    return Formatting::formatMoney(usd, m_engine->preferences());
}

QString DrillDownModel::summaryLine() const
{
    return DrillDownLogic::summaryLine(m_groups.size(), m_eventCount);
}

int DrillDownModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_groups.size());
}

QVariant DrillDownModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CustomerGroup &g = m_groups.at(index.row());
    const Preferences &prefs = m_engine->preferences();
    switch (role) {
    case Qt::DisplayRole:
    case DisplayNameRole:
        if (!prefs.privacyMode)
            return g.displayName;
        // Without an e-mail the name is the event's description, which may quote a price.
        return g.email ? CurrencyConverter::maskEmail(g.displayName) : CurrencyConverter::maskAmounts(g.displayName);
    case HasEmailRole: return g.email.has_value();
    case CopiedRole: return m_copied.marks(g.email);
    case CountLineRole: {
        const QString count = u"%1× %2"_s.arg(QString::number(g.count), DrillDownLogic::countWord(m_kind));
        // A cancellation's row says which plan went; the title already names the customer.
        const QList<PaymentEvent> &feed = m_engine->feed();
        if (m_kind != RevenueKind::Churn || !g.email || g.events.isEmpty() || g.events.first() >= feed.size())
            return count;
        return QString(count + u" · "_s + feed.at(g.events.first()).description);
    }
    case DateLabelRole: return Formatting::shortDateLabel(g.lastDate, m_engine->now(), m_engine->calendar(), m_locale);
    case AmountTextRole:
        return QString((m_kind == RevenueKind::Churn ? u"-"_s : QString()) + Formatting::formatMoney(g.totalUSD, prefs));
    case AmountColorRole: return Formatting::kindColor(m_kind);
    case LetterRole: return g.accountName.left(1).toUpper();
    case LetterColorRole: return Formatting::providerColor(g.accountName);
    case IconSourceRole: {
        const QString file = m_iconByAccountName.value(g.accountName);
        return file.isEmpty() ? QString() : QUrl::fromLocalFile(file).toString();
    }
    case LinkUrlRole:
        if (g.events.isEmpty())
            return QUrl();
        return m_engine->feed().at(g.events.first()).dashboardLink().value_or(QUrl());
    }
    return {};
}

QHash<int, QByteArray> DrillDownModel::roleNames() const
{
    return {
        {DisplayNameRole, "displayName"}, {HasEmailRole, "hasEmail"},     {CopiedRole, "copied"},
        {CountLineRole, "countLine"},     {DateLabelRole, "dateLabel"},   {AmountTextRole, "amountText"},
        {AmountColorRole, "amountColor"}, {LetterRole, "letter"},         {LetterColorRole, "letterColor"},
        {IconSourceRole, "iconSource"},   {LinkUrlRole, "linkUrl"},
    };
}

void DrillDownModel::copyEmail(int row)
{
    if (row >= 0 && row < m_groups.size())
        m_copied.copy(m_groups.at(row).email);
}

void DrillDownModel::exportCsv(const QString &what)
{
    delete m_dialog;
    const QString folder = DrillDownLogic::exportFolder({QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                                                         QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
                                                         QDir::homePath()});
    const QString name = DrillDownLogic::suggestedFileName(what, m_kind, m_engine->calendar().local(m_engine->now()).date());
    // Not modal and not parented to the panel: the panel is a tool window that closes
    // when it loses focus, and the dialog must outlive that.
    m_dialog = new QFileDialog(nullptr, u"Export CSV"_s, QDir(folder).filePath(name), u"CSV files (*.csv)"_s);
    m_dialog->setAcceptMode(QFileDialog::AcceptSave);
    m_dialog->setDefaultSuffix(u"csv"_s);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &QFileDialog::fileSelected, this, [this, what](const QString &path) { writeCsv(what, path); });
    connect(m_dialog, &QFileDialog::finished, this, &DrillDownModel::exportDialogClosed);
    m_dialog->open();
}

bool DrillDownModel::writeCsv(const QString &what, const QString &path)
{
    const QByteArray bytes = what == u"events"_s
        ? CsvExport::events(DrillDown::eventsAt(m_engine->feed(), rangeEvents(std::nullopt)))
        : CsvExport::customers(m_engine->feed(), m_groups);
    const auto error = DrillDownLogic::writeFile(path, bytes);
    const QString file = QFileInfo(path).fileName();
    m_savedFile = error ? QString() : QFileInfo(path).absoluteFilePath();
    setExportStatus(error ? u"Couldn't save %1: %2"_s.arg(file, *error)
                          : u"Saved %1 in %2"_s.arg(file, QDir::toNativeSeparators(QFileInfo(path).absolutePath())));
    return !error;
}

void DrillDownModel::showSavedFile()
{
    if (!m_savedFile.isEmpty())
        Q_EMIT showInFolderRequested(m_savedFile);
}

void DrillDownModel::setExportStatus(const QString &status)
{
    if (status == m_exportStatus)
        return;
    m_exportStatus = status;
    Q_EMIT exportStatusChanged();
}
