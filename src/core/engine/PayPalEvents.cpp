#include "PayPalEvents.h"

#include "model/CurrencyConverter.h"

#include <cmath>

using namespace Qt::StringLiterals;

bool isCompletedIncomingPayment(const PPInfo &info, double amount)
{
    // The search lists every balance movement of the account, not only sales. PayPal's
    // transaction event codes (T-codes) classify them: the T00nn group is "PayPal
    // account-to-PayPal account payment" (checkout, subscription, website, virtual terminal,
    // invoice, mobile, donation payments...), booked as a credit to the receiving merchant
    // and as a debit to the sender. Every other group is not a sale: T01 fees, T03/T04 bank
    // deposits and withdrawals, T11 reversals and refunds (T1107), T12 adjustments, T15 holds,
    // T21 reserves, T22 transfers, and so on. Inside T00 a few codes move money without
    // selling anything: T0008 postage to a carrier, T0014 rebates, T0015 third-party payouts,
    // T0016 third-party recoupments and T0017 store-to-store transfers.
    //
    // A credit shows as a positive gross amount, so "incoming" is a T00 sale code with an
    // amount above zero. "Completed" is transaction_status S (completed without denial and
    // after any pending state) or F (completed, then partly refunded: the refund is its own
    // negative T1107 row). P (pending, may still fail), D (denied) and V (fully reversed,
    // the money went back) are not revenue. A row without a code or a status cannot be shown
    // to be a completed sale and is left out.
    static constexpr const char16_t *notSales[] = {u"T0008", u"T0014", u"T0015", u"T0016", u"T0017"};
    if (!info.transaction_event_code || !info.transaction_status || amount <= 0)
        return false;
    const QString &code = *info.transaction_event_code;
    if (code.size() != 5 || !code.startsWith(u"T00"_s))
        return false;
    for (const char16_t *excluded : notSales)
        if (code == QStringView(excluded))
            return false;
    const QString &status = *info.transaction_status;
    return status == u"S"_s || status == u"F"_s;
}

QList<PaymentEvent> paypalEvents(const QList<PPTransaction> &transactions, const Account &account)
{
    QList<PaymentEvent> events;
    for (const PPTransaction &transaction : transactions) {
        const PPInfo &info = transaction.transaction_info;
        if (!info.transaction_amount)
            continue;
        const auto amount = parsePayPalAmount(info.transaction_amount->value);
        if (!amount)
            continue;
        // Both of PayPal's forms ("+0000", and RFC 3339 with Z, a fraction or "+02:00") name
        // an instant with its offset; the parser applies it.
        const auto date = info.transaction_initiation_date ? Date::fromIsoString(*info.transaction_initiation_date)
                                                           : std::nullopt;
        if (!date || !isCompletedIncomingPayment(info, *amount))
            continue;

        PaymentEvent event;
        // A row without an id gets a new one on every load; an empty id would merge
        // unrelated rows into one feed entry, so it counts as missing too.
        event.id = info.transaction_id && !info.transaction_id->isEmpty() ? *info.transaction_id
                                                                            : uuidText(QUuid::createUuid());
        event.date = *date;
        event.amount = *amount; // PayPal sends major units, zero-decimal currencies included
        event.currency = info.transaction_amount->currency_code;
        event.usdAmount = CurrencyConverter::toUSD(*amount, event.currency);
        event.accountId = account.id;
        event.accountName = account.name;
        event.kind = RevenueKind::Recurring;
        event.description = info.transaction_subject && !info.transaction_subject->isEmpty()
            ? *info.transaction_subject
            : u"PayPal payment"_s;
        events.append(std::move(event));
    }
    return events;
}
