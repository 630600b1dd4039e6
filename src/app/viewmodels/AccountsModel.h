#pragma once

#include "model/Account.h"
#include "storage/Storage.h"
#include "viewmodels/AccountEditor.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>
#include <functional>

class RevenueEngine;

// The accounts tab: the list of connected accounts, or the editor while one is edited.
class AccountsModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the application")
    Q_PROPERTY(AccountEditor *editor READ editor NOTIFY editorChanged)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY countChanged)
    // What the row waiting for a confirmed removal asks, or empty while none waits.
    Q_PROPERTY(QString removalQuestion READ removalQuestion NOTIFY removalChanged)

public:
    enum Role { NameRole = Qt::UserRole + 1, ProviderRole, ProviderSymbolRole, NeedsEventsScopeRole, EnabledRole, IconSourceRole, IsDemoRole, RemovalPendingRole };

    // The editor's fallback title for `account` given the stored list.
    static QString nextAccountNumberTitle(const Account &account, const QList<Account> &accounts);
    // The cached icon of the account as an image URL, or empty while there is none.
    static QString iconSource(const Storage &storage, const QUuid &accountId);
    // The question asked before `account` is removed: what goes with it, and where from.
    static QString removalQuestion(const Account &account, bool keyring);

    explicit AccountsModel(RevenueEngine *engine, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    AccountEditor *editor() const { return m_editor; }
    // Asked each time an editor opens: whether the keyring must be set up before it stores a key.
    void setKeyringProbe(std::function<bool()> needsSetup) { m_keyringNeedsSetup = std::move(needsSetup); }
    bool isEmpty() const;

    // "stripe" or "paypal".
    Q_INVOKABLE void addAccount(const QString &provider);
    Q_INVOKABLE void edit(int row);
    void editAccount(const QUuid &accountId);
    Q_INVOKABLE void setEnabled(int row, bool enabled);
    // Removing asks first: the row shows the question until it is confirmed or cancelled, and
    // only a confirmed removal deletes the account and its stored key.
    Q_INVOKABLE void askToRemove(int row);
    Q_INVOKABLE void confirmRemoval();
    Q_INVOKABLE void cancelRemoval();
    QString removalQuestion() const;
    // Back to the list without storing anything.
    Q_INVOKABLE void closeEditor();

Q_SIGNALS:
    void editorChanged();
    // An account was saved from the editor (the shell returns to the dashboard).
    void accountSaved();
    void countChanged();
    void removalChanged();

private:
    void openEditor(const Account &account);
    void reload();
    RevenueEngine *m_engine;
    QList<Account> m_accounts;
    QPointer<AccountEditor> m_editor;
    std::optional<QUuid> m_pendingRemoval;
    std::function<bool()> m_keyringNeedsSetup;
};
