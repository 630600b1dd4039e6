#pragma once

#include "ListingSlices.h"
#include "RequestBudget.h"
#include "StripeError.h"
#include "StripeRecords.h"
#include "model/Account.h"
#include "util/Cancellation.h"
#include "util/Date.h"
#include "util/Result.h"

#include <QCoroTask>
#include <QUrl>
#include <array>
#include <memory>

// A Stripe decline or error code and the short sentence shown for it.
struct DeclineSentence
{
    QLatin1StringView code;
    QStringView sentence;
};

inline constexpr std::array<DeclineSentence, 22> stripeFriendlyDeclineMap{{
    {QLatin1StringView("insufficient_funds"), u"Insufficient funds on card"},
    {QLatin1StringView("card_declined"), u"Card was declined"},
    {QLatin1StringView("expired_card"), u"Card expired"},
    {QLatin1StringView("incorrect_cvc"), u"Wrong CVC"},
    {QLatin1StringView("lost_card"), u"Card reported lost"},
    {QLatin1StringView("stolen_card"), u"Card reported stolen"},
    {QLatin1StringView("do_not_honor"), u"Issuer declined (do not honor)"},
    {QLatin1StringView("fraudulent"), u"Stripe Radar flagged as fraudulent"},
    {QLatin1StringView("processing_error"), u"Card processor error \u2014 try again later"},
    {QLatin1StringView("try_again_later"), u"Issuer asked us to retry later"},
    {QLatin1StringView("generic_decline"), u"Card declined (no reason given)"},
    {QLatin1StringView("pickup_card"), u"Card flagged \u2014 must be picked up by issuer"},
    {QLatin1StringView("currency_not_supported"), u"Card doesn't support this currency"},
    {QLatin1StringView("incorrect_number"), u"Card number is wrong"},
    {QLatin1StringView("invalid_account"), u"Card account is invalid"},
    {QLatin1StringView("new_account_information_available"), u"Card details have changed \u2014 customer needs to update"},
    {QLatin1StringView("withdrawal_count_limit_exceeded"), u"Customer's daily withdrawal limit reached"},
    {QLatin1StringView("transaction_not_allowed"), u"Card doesn't allow this transaction"},
    {QLatin1StringView("service_not_allowed"), u"Issuer doesn't allow this service"},
    {QLatin1StringView("issuer_not_available"), u"Card issuer unreachable"},
    {QLatin1StringView("duplicate_transaction"), u"Duplicate of a recent charge"},
    {QLatin1StringView("authentication_required"), u"3DS authentication required (customer must approve)"},
}};

// The Stripe REST API for one account. A value: cheap to make per use and to copy; every
// query copies what it needs before its first suspension, so the client may go away while
// a query runs. Requests start within the account's budget; a GET Stripe refuses with 429 is
// asked again once the wait it names is over. Nothing else is retried and nothing is logged.
class StripeClient
{
public:
    template<typename T>
    using Reply = QCoro::Task<Result<T, StripeError>>;

    // Every request pins the newest API version whose objects still have the shape the wire
    // records were written for (charge.invoice, invoice.charge/subscription/paid and a
    // top-level current_period_end). Without the header Stripe answers in the account's
    // default version, which changes when the owner upgrades the account. Events are the
    // exception Stripe documents: they keep the version of their creation whatever a request
    // pins, which is why the records decode the newer shape too.
    static constexpr QLatin1StringView apiVersion{"2025-02-24.acacia"};
    static constexpr int historicalChargePageCap = 50;
    // Every other listing ends with an error past this many pages: 200,000 records is far
    // beyond a 30-day window of any account, and a server that never ends a list would
    // otherwise be asked for ever.
    static constexpr int listingPageLimit = 2000;
    // The subscriptions of one at-risk status end with an error past either bound: an account
    // with thousands of failing subscriptions has a problem no list can show, and a server
    // that never ends its list would otherwise fill memory.
    static constexpr int atRiskPageLimit = 50;
    static constexpr int atRiskRecordLimit = 5000;
    // How long a request waits in all for Stripe's rate limit before it fails with the 429.
    static constexpr double rateLimitWaitLimit = 30.0;
    // A longer Retry-After holds the account's requests back this long at most.
    static constexpr double longestRateLimitPause = 900.0;
    // 2011-01-01: the earliest any Stripe object was created.
    static constexpr qint64 stripeEpochUnixSeconds = 1293840000;

    // Without a budget requests start at once.
    StripeClient(Account account, QUrl baseUrl, std::shared_ptr<RequestBudget> budget = {});

    // Event listings with more than a page are split by `created` into at most this many
    // slices paged side by side (1: paged one page after another).
    void setMaxSlices(int slices) { m_maxSlices = std::max(1, slices); }

    const Account &account() const { return m_account; }
    const QUrl &baseUrl() const { return m_baseUrl; }
    // Records this client and its copies have left out of listings because they did not
    // decode; the rest of each page was used.
    qsizetype skippedRecords() const { return *m_skipped; }

    // Invoices paid since `since`, with `created` set to when Stripe reported the payment.
    Reply<QList<RawInvoice>> fetchPaidInvoices(Date since, CancellationToken token = {}) const;
    Reply<QList<FailedPaymentEvent>> fetchFailedPayments(Date since, CancellationToken token = {}) const;
    Reply<QList<RefundEvent>> fetchRefunds(Date since, CancellationToken token = {}) const;
    // Charges that paid no invoice as far as the charge itself says: its `invoice` is absent
    // or empty. New-shape charges never carry `invoice`, so subscription payments among them
    // still need linking (fetchPaidInvoicePayments) before they count as sales.
    Reply<QList<SucceededChargeEvent>> fetchStandaloneCharges(Date since, CancellationToken token = {}) const;
    Reply<QList<SubscriptionCancellation>> fetchSubscriptionCancellations(Date since, CancellationToken token = {}) const;
    // Succeeded, paid charges in the window, at most 50 pages (5 000 charges).
    Reply<QList<RawCharge>> fetchSucceededChargesHistorical(Date since, std::optional<Date> until,
                                                            CancellationToken token = {}) const;
    // Every subscription in `status`, with its customer, latest invoice and that invoice's
    // last charge expanded; a Paging error past atRiskPageLimit pages or atRiskRecordLimit
    // subscriptions.
    Reply<QList<ExpandedSubscription>> fetchSubscriptionsByStatus(QString status, CancellationToken token = {}) const;
    // Every subscription in any status with its customer and discounts expanded, paged by
    // `created` in slices side by side within the account's budget.
    Reply<QList<BillingSubscription>> fetchAllSubscriptions(CancellationToken token = {}) const;
    // Paid invoices created since `since` with their lines, for the subscription periods they paid.
    Reply<QList<BillingInvoice>> fetchPaidSubscriptionInvoices(Date since, CancellationToken token = {}) const;
    Reply<StripeAccountInfo> fetchAccountInfo(CancellationToken token = {}) const;
    Reply<ExpandedSubscription::SubCustomer> fetchCustomer(QString customerId, CancellationToken token = {}) const;
    // Asks Stripe to pay the invoice now. True on success; a refusal is an Http error whose
    // body parseHumanError words. Ids other than plain Stripe ids are refused unsent.
    Reply<bool> retryInvoice(QString invoiceId, CancellationToken token = {}) const;

    // Paid invoice payments created since `since`. A charge rendered in the 2025-03-31.basil
    // shape or later has no `invoice` key, and the invoice of that shape no `charge` or
    // `payment_intent`; Stripe's invoice payments are the link that remains, naming the
    // payment intent (or, for a charge without one, the charge) that paid each invoice.
    // Without it a subscription payment would count twice: as the paid invoice and as a sale.
    // Restricted keys need the Invoices read permission for it.
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePayments(Date since, CancellationToken token = {}) const;
    // The paid invoice payments made with one payment intent. Stripe records an invoice
    // payment when the invoice is finalized, so a retried or sent invoice may be paid long
    // after the record was made, earlier than any listing by creation reaches.
    Reply<QList<RawInvoicePayment>> fetchPaidInvoicePaymentsByIntent(QString paymentIntentId,
                                                                     CancellationToken token = {}) const;

    // A short sentence for a Stripe error body, or none when it says nothing usable.
    static std::optional<QString> parseHumanError(const QByteArray &body);
    // Letters, digits and underscores only: what Stripe ids are made of, and safe in a path.
    static bool isPlainStripeId(QStringView id);
    // The seconds a Retry-After value asks for (seconds or an HTTP date), none when unreadable.
    static std::optional<double> retryAfterSeconds(const QByteArray &value, Date now);

private:
    using Query = QList<std::pair<QString, QString>>;
    template<typename Out>
    struct Run; // one run of pages and how it ended

    Reply<QByteArray> send(QByteArray verb, QString path, Query query, CancellationToken token,
                           QByteArray apiVersionOverride = {}) const;
    // Pages through a list from `cursor` on. `pageCap` > 0 ends the run quietly after that
    // many pages; 0 fails once `pagesUsed`, shared by the runs of one listing, passes
    // listingPageLimit. A list whose cursor does not move fails at once.
    template<typename Page, typename Out, typename Keep>
    Reply<Run<Out>> pageRun(QString path, Query query, std::optional<QString> cursor, int pageCap,
                       std::shared_ptr<int> pagesUsed, CancellationToken token, Keep &keep,
                       QByteArray apiVersionOverride = {}) const;
    template<typename Page, typename Out, typename Keep>
    Reply<QList<Out>> collectPages(QString path, Query query, int pageCap, CancellationToken token, Keep keep,
                                   QByteArray apiVersionOverride = {}) const;
    // A listing with a `created` filter from `since` on: its first page, then the rest of
    // the window in slices paged side by side when the first page says that pays.
    template<typename Page, typename Out, typename Keep>
    Reply<QList<Out>> collectSliced(QString path, Query query, Date since, CancellationToken token, Keep keep,
                                    QByteArray apiVersionOverride = {}) const;
    template<typename Event, typename Out, typename Make>
    Reply<QList<Out>> collectEvents(QString type, Date since, CancellationToken token, Make make) const;

    Account m_account;
    QUrl m_baseUrl;
    std::shared_ptr<qsizetype> m_skipped = std::make_shared<qsizetype>(0); // shared by the copies
    std::shared_ptr<RequestBudget> m_budget;
    int m_maxSlices = ListingSlices::maxSlices;
};
