#include "MrrModel.h"

#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"
#include "mrr/MrrTracker.h"
#include "viewmodels/DrillDownModel.h"
#include "viewmodels/Formatting.h"
#include "viewmodels/MrrCsv.h"
#include "viewmodels/MrrTexts.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

constexpr MrrMovementKind allKinds[] = {MrrMovementKind::New, MrrMovementKind::Expansion, MrrMovementKind::Reactivation,
                                        MrrMovementKind::Contraction, MrrMovementKind::Churn};

double kindTotal(const MrrMovements &m, MrrMovementKind kind)
{
    switch (kind) {
    case MrrMovementKind::New: return m.newMrr;
    case MrrMovementKind::Expansion: return m.expansion;
    case MrrMovementKind::Reactivation: return m.reactivation;
    case MrrMovementKind::Contraction: return -m.contraction;
    case MrrMovementKind::Churn: return -m.churn;
    }
    return 0;
}

} // namespace

MrrModel::MrrModel(RevenueEngine *engine, QLocale locale, QObject *parent)
    : QAbstractListModel(parent)
    , m_engine(engine)
    , m_locale(locale)
    , m_chart(std::move(locale))
{
    connect(&m_kinds, &ChoiceListModel::chosen, this, [this](int row) {
        // Choosing the shown kind again lists every movement.
        m_filter = m_filter == allKinds[row] ? std::nullopt : std::optional(allKinds[row]);
        rebuild();
    });
    connect(engine->mrr(), &MrrTracker::stateChanged, this, &MrrModel::rebuild);
    for (auto signal : {&RevenueEngine::preferencesChanged, &RevenueEngine::accountsChanged})
        connect(engine, signal, this, &MrrModel::rebuild);
    rebuild();
}

MrrModel::~MrrModel()
{
    delete m_dialog;
}

const MrrState &MrrModel::state() const
{
    return m_engine->mrr()->state();
}

bool MrrModel::isEstimated(const QUuid &accountId) const
{
    return m_estimatedAccounts.contains(accountId);
}

void MrrModel::rebuild()
{
    const Preferences &prefs = m_engine->preferences();
    beginResetModel();
    m_estimatedAccounts.clear();
    for (const Account &account : m_engine->accounts())
        if (account.provider == AccountProvider::PayPal)
            m_estimatedAccounts.insert(account.id);
    m_rows.clear();
    for (const CustomerMovement &m : state().monthMovements)
        if (!m_filter || m.kind == *m_filter)
            m_rows.append(m);
    endResetModel();
    QList<ChoiceListModel::Item> kinds;
    for (MrrMovementKind kind : allKinds)
        kinds.append({MrrTexts::movementName(kind), m_filter == kind, false, QString()});
    m_kinds.setItems(kinds);
    m_chart.setData(state().months, prefs.mrrGoalUsd, prefs, m_engine->calendar());
    Q_EMIT changed();
}

int MrrModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant MrrModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CustomerMovement &m = m_rows.at(index.row());
    const Preferences &prefs = m_engine->preferences();
    switch (role) {
    case Qt::DisplayRole:
    case DisplayNameRole: {
        const QString name = m.customerName.isEmpty() ? m.customerId : m.customerName;
        if (!prefs.privacyMode)
            return name;
        return name.contains(u'@') ? CurrencyConverter::maskEmail(name) : CurrencyConverter::maskAmounts(name);
    }
    case KindTextRole: return MrrTexts::movementName(m.kind);
    case KindColorRole: return MrrTexts::movementColor(m.kind);
    case ChangeTextRole: return MrrTexts::signedAmount(m.changeUsd(), prefs);
    case FromToTextRole: return MrrTexts::fromToLine(m, prefs);
    case ApproxRole: return isEstimated(m.accountId);
    case LetterRole: {
        for (const Account &account : m_engine->accounts())
            if (account.id == m.accountId)
                return account.name.left(1).toUpper();
        return QString();
    }
    case LetterColorRole: {
        for (const Account &account : m_engine->accounts())
            if (account.id == m.accountId)
                return Formatting::providerColor(account.name);
        return Formatting::providerColor(QString());
    }
    }
    return {};
}

QHash<int, QByteArray> MrrModel::roleNames() const
{
    return {
        {DisplayNameRole, "displayName"}, {KindTextRole, "kindText"}, {KindColorRole, "kindColor"},
        {ChangeTextRole, "changeText"},   {FromToTextRole, "fromToText"}, {ApproxRole, "approx"},
        {LetterRole, "letter"},           {LetterColorRole, "letterColor"},
    };
}

bool MrrModel::hasData() const
{
    return state().updatedAt.has_value() || !state().months.isEmpty();
}

bool MrrModel::isLoading() const
{
    return state().isLoading;
}

QString MrrModel::errorText() const
{
    return state().lastError.value_or(QString());
}

QString MrrModel::mrrText() const
{
    return Formatting::formatMoney(state().summary.mrrUsd, m_engine->preferences());
}

QString MrrModel::entryText() const
{
    if (!hasData())
        return u"MRR"_s;
    return state().summary.approximate ? u"MRR %1 approx."_s.arg(mrrText()) : u"MRR "_s + mrrText();
}

QString MrrModel::arrText() const
{
    return MrrTexts::arrLine(state().summary.arrUsd, m_engine->preferences());
}

QString MrrModel::netNewText() const
{
    return MrrTexts::netNewLine(state().summary.netNewUsd, m_engine->preferences());
}

QColor MrrModel::netNewColor() const
{
    // In privacy mode the colour would tell what the mask hides.
    const double net = state().summary.netNewUsd;
    if (m_engine->preferences().privacyMode || net == 0)
        return QColor();
    return net > 0 ? MrrTexts::movementColor(MrrMovementKind::New) : MrrTexts::movementColor(MrrMovementKind::Churn);
}

QString MrrModel::approxText() const
{
    return state().summary.approximate ? u"approx."_s : QString();
}

QString MrrModel::approxTooltip() const
{
    return u"PayPal lists no subscriptions: its part is estimated from the last 30 days of recurring payments."_s;
}

QString MrrModel::arpaText() const
{
    return Formatting::formatMoney(state().summary.arpaUsd, m_engine->preferences());
}

QString MrrModel::customersText() const
{
    return m_locale.toString(state().summary.activeCustomers);
}

QString MrrModel::logoChurnText() const
{
    return MrrTexts::percent(state().summary.logoChurnRate, m_locale);
}

QString MrrModel::netMrrChurnText() const
{
    return MrrTexts::percent(state().summary.netMrrChurnRate, m_locale);
}

bool MrrModel::hasGoal() const
{
    return m_engine->preferences().mrrGoalUsd > 0;
}

QString MrrModel::goalText() const
{
    if (!hasGoal())
        return u"No goal set"_s;
    return u"Goal %1"_s.arg(Formatting::formatMoney(m_engine->preferences().mrrGoalUsd, m_engine->preferences()));
}

QString MrrModel::goalEtaText() const
{
    // The tracker's months to go, in this pane's words (and masks).
    const Preferences &prefs = m_engine->preferences();
    return MrrTexts::goalEta(prefs.mrrGoalUsd, state().goal.months, prefs);
}

QString MrrModel::goalLine() const
{
    if (!hasGoal())
        return u"No MRR goal set"_s;
    const QString eta = goalEtaText();
    return eta == u"—"_s ? u"%1 · no ETA while MRR does not grow"_s.arg(goalText()) : eta;
}

QString MrrModel::goalInput() const
{
    return MrrTexts::goalInput(m_engine->preferences().mrrGoalUsd, m_engine->preferences());
}

QString MrrModel::goalCurrency() const
{
    const QString code = m_engine->preferences().dashboardCurrency;
    return CurrencyConverter::symbol(code).value_or(code.toUpper());
}

bool MrrModel::setGoal(const QString &text)
{
    Preferences prefs = m_engine->preferences();
    const auto usd = MrrTexts::parseGoal(text, prefs.dashboardCurrency);
    m_goalError = usd ? QString() : u"Type an amount, such as 10000 or 10K"_s;
    if (usd) {
        prefs.mrrGoalUsd = *usd;
        m_engine->setPreferences(prefs);
    }
    Q_EMIT changed();
    return usd.has_value();
}

QString MrrModel::listTitle() const
{
    return m_filter ? u"%1 this month"_s.arg(MrrTexts::movementName(*m_filter)) : u"Movements this month"_s;
}

QString MrrModel::emptyText() const
{
    if (!hasData())
        return isLoading() ? u"Listing subscriptions…"_s : u"No subscription data yet."_s;
    return m_filter ? u"No %1 this month."_s.arg(MrrTexts::movementName(*m_filter).toLower())
                    : u"No MRR movements this month yet."_s;
}

QStringList MrrModel::kindAmounts() const
{
    QStringList out;
    const MrrMovements *month = state().months.isEmpty() ? nullptr : &state().months.last().movements;
    for (MrrMovementKind kind : allKinds)
        out.append(MrrTexts::signedAmount(month ? kindTotal(*month, kind) : 0, m_engine->preferences()));
    return out;
}

QList<QColor> MrrModel::kindColors() const
{
    QList<QColor> out;
    for (MrrMovementKind kind : allKinds)
        out.append(MrrTexts::movementColor(kind));
    return out;
}

void MrrModel::exportCsv()
{
    delete m_dialog;
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString name = u"mrr-movements-%1.csv"_s.arg(m_engine->calendar().local(m_engine->now()).date().toString(Qt::ISODate));
    // Not modal and not parented to the panel: the panel closes when it loses focus.
    m_dialog = new QFileDialog(nullptr, u"Export CSV"_s, QDir(folder).filePath(name), u"CSV files (*.csv)"_s);
    m_dialog->setAcceptMode(QFileDialog::AcceptSave);
    m_dialog->setDefaultSuffix(u"csv"_s);
    m_dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_dialog, &QFileDialog::fileSelected, this, [this](const QString &path) { writeCsv(path); });
    m_dialog->open();
}

bool MrrModel::writeCsv(const QString &path)
{
    QHash<QUuid, QString> names;
    for (const Account &account : m_engine->accounts())
        names.insert(account.id, account.name);
    const auto error = DrillDownLogic::writeFile(path, MrrCsv::movements(m_rows, names, m_estimatedAccounts));
    const QString file = QFileInfo(path).fileName();
    setExportStatus(error ? u"Couldn't save %1: %2"_s.arg(file, *error) : u"Saved %1"_s.arg(file));
    return !error;
}

void MrrModel::setExportStatus(const QString &status)
{
    if (status == m_exportStatus)
        return;
    m_exportStatus = status;
    Q_EMIT exportStatusChanged();
}
