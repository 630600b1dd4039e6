#pragma once

#include "model/Account.h"
#include "paypal/PPError.h"
#include "paypal/PayPalRecords.h"
#include "util/Cancellation.h"
#include "util/Result.h"

#include <QCoroTask>
#include <QUrl>
#include <memory>

// Reads one PayPal account's recent transactions: an OAuth token from the client
// credentials, then the transaction search for a window. Made per use; holds no state
// beyond the account and the two hosts.
class PayPalClient
{
public:
    // The search's page size, and how many pages one fetch reads at most. PayPal caps a
    // window at 31 days; 50 pages of 100 cover far more than a month of a small business.
    static constexpr int pageSize = 100;
    static constexpr int maxPages = 50;

    PayPalClient(Account account, QUrl liveBase, QUrl sandboxBase);

    const Account &account() const { return m_account; }
    // The live or sandbox host, as the account's paypalLive selects.
    QUrl baseUrl() const;
    // Transactions this client and its copies have left out because they did not decode.
    qsizetype skippedRecords() const { return *m_skipped; }

    // A fresh access token; tokens are never cached. Everything the call needs from the
    // client is read before its first suspension.
    QCoro::Task<Result<QString, PPError>> token(CancellationToken cancel = {}) const;
    // Every transaction between `since` and `now`, in PayPal's order, with a token of its own.
    QCoro::Task<Result<QList<PPTransaction>, PPError>> fetchTransactions(Date since, Date now,
                                                                          CancellationToken cancel = {}) const;

private:
    QUrl endpoint(const QString &path) const;

    Account m_account;
    QUrl m_liveBase;
    QUrl m_sandboxBase;
    std::shared_ptr<qsizetype> m_skipped = std::make_shared<qsizetype>(0); // shared by the copies
};

// Whether another page should be asked for after `page` (1-based) returned `rowsOnPage`
// rows and named `totalPages` (absent when PayPal did not say).
bool payPalHasNextPage(int page, qsizetype rowsOnPage, std::optional<qint64> totalPages);
