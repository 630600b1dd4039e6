#include "AccountsModel.h"

#include "engine/RevenueEngine.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>
#include <algorithm>

using namespace Qt::StringLiterals;

QString AccountsModel::nextAccountNumberTitle(const Account &account, const QList<Account> &accounts)
{
    for (qsizetype i = 0; i < accounts.size(); ++i) {
        if (accounts.at(i).id != account.id)
            continue;
        if (!accounts.at(i).name.isEmpty())
            return accounts.at(i).name;
        return u"Account %1"_s.arg(i + 1);
    }
    return u"Account %1"_s.arg(accounts.size() + 1);
}

QString AccountsModel::iconSource(const Storage &storage, const QUuid &accountId)
{
    const QString file = QDir(storage.folder()).filePath(u"icons/"_s + uuidText(accountId) + u".png"_s);
    return QFileInfo::exists(file) ? QUrl::fromLocalFile(file).toString() : QString();
}

AccountsModel::AccountsModel(RevenueEngine *engine, QObject *parent)
    : QAbstractListModel(parent)
    , m_engine(engine)
{
    connect(engine, &RevenueEngine::accountsChanged, this, &AccountsModel::reload);
    connect(engine, &RevenueEngine::missingEventScopeAccountsChanged, this, &AccountsModel::reload);
    reload();
}

QString AccountsModel::removalQuestion(const Account &account, bool keyring)
{
    const QString name = account.name.isEmpty() ? u"this account"_s : account.name;
    if (account.isDemo())
        return u"Remove %1? Its made-up figures leave the dashboard."_s.arg(name);
    const QString secret = account.provider == AccountProvider::PayPal ? u"client secret"_s : u"key"_s;
    return u"Remove %1? Its %2 is deleted from %3."_s.arg(name, secret, keyring ? u"the keyring"_s : u"this computer"_s);
}

void AccountsModel::reload()
{
    beginResetModel();
    m_accounts = m_engine->accounts();
    // An account that went away by other means no longer waits for its confirmation.
    if (m_pendingRemoval && std::ranges::none_of(m_accounts, [&](const Account &a) { return a.id == *m_pendingRemoval; }))
        m_pendingRemoval.reset();
    endResetModel();
    Q_EMIT countChanged();
    Q_EMIT removalChanged();
}

int AccountsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_accounts.size());
}

QVariant AccountsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Account &a = m_accounts.at(index.row());
    const bool stripe = a.provider == AccountProvider::Stripe;
    switch (role) {
    case Qt::DisplayRole:
    case NameRole: return a.name.isEmpty() ? u"(unnamed)"_s : a.name;
    case ProviderRole: return a.isDemo() ? u"Demo · made-up data, no network"_s : stripe ? u"Stripe"_s : u"PayPal"_s;
    case ProviderSymbolRole: return a.isDemo() ? u"sparkles"_s : stripe ? u"creditcard.fill"_s : u"p.circle.fill"_s;
    case IsDemoRole: return a.isDemo();
    case NeedsEventsScopeRole: return m_engine->missingEventScopeAccounts().contains(a.id);
    case EnabledRole: return a.enabled;
    case IconSourceRole: return iconSource(m_engine->storage(), a.id);
    case RemovalPendingRole: return m_pendingRemoval == a.id;
    }
    return {};
}

QHash<int, QByteArray> AccountsModel::roleNames() const
{
    return {{NameRole, "name"},
            {ProviderRole, "provider"},
            {ProviderSymbolRole, "providerSymbol"},
            {NeedsEventsScopeRole, "needsEventsScope"},
            {EnabledRole, "accountEnabled"},
            {IconSourceRole, "iconSource"},
            {IsDemoRole, "isDemo"},
            {RemovalPendingRole, "removalPending"}};
}

bool AccountsModel::isEmpty() const
{
    return m_accounts.isEmpty();
}

void AccountsModel::openEditor(const Account &account)
{
    if (m_editor)
        m_editor->deleteLater();
    m_editor = new AccountEditor(account, nextAccountNumberTitle(account, m_engine->accounts()), this);
    // Until the keyring has answered at start nothing is said: it may still turn out to be there.
    if (m_engine->credentialsReady() && !account.isDemo())
        m_editor->setStorageNote(AccountEditor::storageNote(m_engine->usesKeyring(),
                                                            m_keyringNeedsSetup && m_keyringNeedsSetup()));
    connect(m_editor, &AccountEditor::saved, this, [this](const Account &saved) {
        m_engine->upsertAccount(saved);
        closeEditor();
        // The new credentials are tried at once; the cycle reports its own errors.
        m_engine->triggerRefresh();
        Q_EMIT accountSaved();
    });
    connect(m_editor, &AccountEditor::cancelled, this, &AccountsModel::closeEditor);
    Q_EMIT editorChanged();
}

void AccountsModel::addAccount(const QString &provider)
{
    if (const auto p = fromRaw<AccountProvider>(provider); p == AccountProvider::Demo)
        m_engine->addDemoAccount();
    else if (p)
        openEditor(Account::newAccount(*p));
}

void AccountsModel::edit(int row)
{
    // The demo has nothing to edit: no credentials, and its name tells what it is.
    if (row >= 0 && row < m_accounts.size() && !m_accounts.at(row).isDemo())
        openEditor(m_accounts.at(row));
}

void AccountsModel::editAccount(const QUuid &accountId)
{
    for (qsizetype row = 0; row < m_accounts.size(); ++row)
        if (m_accounts.at(row).id == accountId)
            edit(static_cast<int>(row));
}

void AccountsModel::setEnabled(int row, bool enabled)
{
    if (row < 0 || row >= m_accounts.size())
        return;
    Account changed = m_accounts.at(row);
    changed.enabled = enabled;
    m_engine->upsertAccount(changed);
}

void AccountsModel::askToRemove(int row)
{
    if (row < 0 || row >= m_accounts.size())
        return;
    beginResetModel(); // one question at a time: another row's is withdrawn
    m_pendingRemoval = m_accounts.at(row).id;
    endResetModel();
    Q_EMIT removalChanged();
}

void AccountsModel::confirmRemoval()
{
    const auto pending = std::ranges::find_if(m_accounts, [&](const Account &a) { return a.id == m_pendingRemoval; });
    m_pendingRemoval.reset();
    if (pending != m_accounts.end())
        m_engine->removeAccount(*pending); // announces the new list, which resets the rows
}

void AccountsModel::cancelRemoval()
{
    if (!m_pendingRemoval)
        return;
    beginResetModel();
    m_pendingRemoval.reset();
    endResetModel();
    Q_EMIT removalChanged();
}

QString AccountsModel::removalQuestion() const
{
    for (const Account &a : m_accounts)
        if (a.id == m_pendingRemoval)
            return removalQuestion(a, m_engine->usesKeyring());
    return {};
}

void AccountsModel::closeEditor()
{
    if (!m_editor)
        return;
    m_editor->deleteLater();
    m_editor = nullptr;
    Q_EMIT editorChanged();
}
