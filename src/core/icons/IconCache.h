#pragma once

#include "icons/IconSources.h"
#include "model/Account.h"
#include "storage/Storage.h"
#include "util/Cancellation.h"

#include <QCoroTask>
#include <QObject>
#include <functional>
#include <memory>

class RequestBudget;

// Fills the icons folder with one favicon per account, found from the account's web domain
// (as entered, else its name when that is a domain, else the Stripe business profile). What it
// learns about the account is written back through `Hooks`. Every failure is silent and the
// next refresh tries again; once a file exists it is never fetched again.
class IconCache : public QObject
{
    Q_OBJECT
public:
    struct Hooks
    {
        // The stored account with this id, as it is now.
        std::function<std::optional<Account>(const QUuid &)> find;
        // Replaces the stored account with the same id and saves the accounts.
        std::function<void(const Account &)> store;
        // The request budget of a Stripe key, shared with every other request made with it;
        // none: look-ups start at once.
        std::function<std::shared_ptr<RequestBudget>(const QString &restrictedKey)> stripeBudget;
    };

    IconCache(Storage storage, QUrl stripeApi, IconEndpoints endpoints, Hooks hooks, QObject *parent = nullptr);
    ~IconCache() override;

    // Starts ensureIconCached without waiting; the cache owns the task and stops it when it goes.
    void start(const Account &account);
    QCoro::Task<> ensureIconCached(Account account);

    QString iconPath(const QUuid &accountId) const;

Q_SIGNALS:
    // A new icon file exists: views showing accounts should redraw.
    void iconStored(const QUuid &accountId);

private:
    QCoro::Task<bool> download(QUuid accountId, QString domain);
    bool writeIcon(const QUuid &accountId, const QByteArray &bytes);

    Storage m_storage;
    QUrl m_stripeApi;
    IconEndpoints m_endpoints;
    Hooks m_hooks;
    CancellationToken m_lifetime;
};
