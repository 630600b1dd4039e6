// Decoding Stripe event pages, and a whole paged fetch of them from a loopback server:
// 100 pages of 100 events, each sized like the events Stripe really sends (4–6 KB).
#include "stripe/StripeClient.h"
#include "stripe/StripeDecoding.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QFile>
#include <QJsonDocument>
#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;
using StripeBodies::Shape;

namespace {

constexpr int pageCount = 100;
constexpr int eventsPerPage = 100;

QJsonObject nullAddress()
{
    return QJsonObject{{u"city"_s, QJsonValue::Null},        {u"country"_s, QJsonValue::Null}, {u"line1"_s, QJsonValue::Null},
                       {u"line2"_s, QJsonValue::Null},       {u"postal_code"_s, QJsonValue::Null},
                       {u"state"_s, QJsonValue::Null}};
}

// The keys a real invoice carries beyond those the records read, with values as Stripe
// fills them; they make the bodies as large and as deep as real ones.
void addInvoiceNoise(QJsonObject &invoice, int n)
{
    invoice.insert(u"account_name"_s, u"Example Software Inc."_s);
    invoice.insert(u"account_tax_ids"_s, QJsonValue::Null);
    invoice.insert(u"amount_shipping"_s, 0);
    invoice.insert(u"application"_s, QJsonValue::Null);
    invoice.insert(u"auto_advance"_s, false);
    invoice.insert(u"automatic_tax"_s, QJsonObject{{u"enabled"_s, false}, {u"liability"_s, QJsonObject{{u"type"_s, u"account"_s}}},
                                                  {u"status"_s, QJsonValue::Null}, {u"disabled_reason"_s, QJsonValue::Null},
                                                  {u"provider"_s, QJsonValue::Null}});
    invoice.insert(u"custom_fields"_s, QJsonValue::Null);
    invoice.insert(u"customer_address"_s, nullAddress());
    invoice.insert(u"customer_phone"_s, QJsonValue::Null);
    invoice.insert(u"customer_shipping"_s, QJsonObject{});
    invoice.insert(u"customer_tax_exempt"_s, u"none"_s);
    invoice.insert(u"customer_tax_ids"_s, QJsonArray{});
    invoice.insert(u"default_payment_method"_s, QJsonValue::Null);
    invoice.insert(u"default_source"_s, QJsonValue::Null);
    invoice.insert(u"default_tax_rates"_s, QJsonArray{});
    invoice.insert(u"description"_s, QJsonValue::Null);
    invoice.insert(u"discounts"_s, QJsonArray{});
    invoice.insert(u"due_date"_s, QJsonValue::Null);
    invoice.insert(u"effective_at"_s, 1'795'120'000 + n);
    invoice.insert(u"ending_balance"_s, 0);
    invoice.insert(u"footer"_s, QJsonValue::Null);
    invoice.insert(u"from_invoice"_s, QJsonValue::Null);
    invoice.insert(u"hosted_invoice_url"_s, u"https://invoice.stripe.com/i/acct_1PgafTB7WZ01zgkW/test_YWNjdF8xUGdhZlRCN1daMDF6Z2tXLF9UTjR2UWp6SzhjMnBMZCwxMzQ0NTY3ODkw0200%1"_s.arg(n));
    invoice.insert(u"invoice_pdf"_s, u"https://pay.stripe.com/invoice/acct_1PgafTB7WZ01zgkW/test_YWNjdF8xUGdhZlRCN1daMDF6Z2tXLF9UTjR2UWp6SzhjMnBMZCwxMzQ0NTY3ODkw0200%1/pdf?s=ap"_s.arg(n));
    invoice.insert(u"issuer"_s, QJsonObject{{u"type"_s, u"self"_s}});
    invoice.insert(u"last_finalization_error"_s, QJsonValue::Null);
    invoice.insert(u"latest_revision"_s, QJsonValue::Null);
    invoice.insert(u"next_payment_attempt"_s, QJsonValue::Null);
    invoice.insert(u"on_behalf_of"_s, QJsonValue::Null);
    invoice.insert(u"payment_settings"_s,
                   QJsonObject{{u"default_mandate"_s, QJsonValue::Null},
                               {u"payment_method_options"_s,
                                QJsonObject{{u"acss_debit"_s, QJsonObject{}},
                                            {u"bancontact"_s, QJsonObject{{u"preferred_language"_s, u"en"_s}}},
                                            {u"card"_s, QJsonObject{{u"request_three_d_secure"_s, u"automatic"_s}}},
                                            {u"customer_balance"_s, QJsonObject{{u"funding_type"_s, QJsonValue::Null}}},
                                            {u"konbini"_s, QJsonObject{}},
                                            {u"sepa_debit"_s, QJsonObject{}},
                                            {u"us_bank_account"_s, QJsonObject{}}}},
                               {u"payment_method_types"_s, QJsonValue::Null}});
    invoice.insert(u"period_end"_s, 1'795'120'000 + n);
    invoice.insert(u"period_start"_s, 1'792'528'000 + n);
    invoice.insert(u"post_payment_credit_notes_amount"_s, 0);
    invoice.insert(u"pre_payment_credit_notes_amount"_s, 0);
    invoice.insert(u"receipt_number"_s, QJsonValue::Null);
    invoice.insert(u"rendering"_s, QJsonObject{{u"amount_tax_display"_s, QJsonValue::Null},
                                              {u"pdf"_s, QJsonObject{{u"page_size"_s, u"auto"_s}}},
                                              {u"template"_s, QJsonValue::Null},
                                              {u"template_version"_s, QJsonValue::Null}});
    invoice.insert(u"shipping_cost"_s, QJsonValue::Null);
    invoice.insert(u"shipping_details"_s, QJsonValue::Null);
    invoice.insert(u"starting_balance"_s, 0);
    invoice.insert(u"statement_descriptor"_s, QJsonValue::Null);
    invoice.insert(u"subtotal"_s, 2000);
    invoice.insert(u"subtotal_excluding_tax"_s, 2000);
    invoice.insert(u"test_clock"_s, QJsonValue::Null);
    invoice.insert(u"total_discount_amounts"_s, QJsonArray{});
    invoice.insert(u"total_excluding_tax"_s, 2000);
    invoice.insert(u"total_pretax_credit_amounts"_s, QJsonArray{});
    invoice.insert(u"total_taxes"_s, QJsonArray{});
    invoice.insert(u"webhooks_delivered_at"_s, 1'795'120'002 + n);
    // Real lines carry their pricing, period and parent details.
    QJsonObject lines = invoice.value(u"lines"_s).toObject();
    QJsonArray data = lines.value(u"data"_s).toArray();
    QJsonObject line = data.at(0).toObject();
    line.insert(u"discount_amounts"_s, QJsonArray{});
    line.insert(u"discountable"_s, true);
    line.insert(u"discounts"_s, QJsonArray{});
    line.insert(u"invoice"_s, invoice.value(u"id"_s));
    line.insert(u"parent"_s, QJsonObject{{u"invoice_item_details"_s, QJsonValue::Null},
                                         {u"subscription_item_details"_s,
                                          QJsonObject{{u"invoice_item"_s, QJsonValue::Null},
                                                      {u"proration"_s, false},
                                                      {u"proration_details"_s, QJsonObject{{u"credited_items"_s, QJsonValue::Null}}},
                                                      {u"subscription"_s, u"sub_1SQaPaB7WZ01zgkWcU7mBq2R"_s},
                                                      {u"subscription_item"_s, u"si_TN4vPr0nXhY2aB"_s}}},
                                         {u"type"_s, u"subscription_item_details"_s}});
    line.insert(u"pretax_credit_amounts"_s, QJsonArray{});
    line.insert(u"pricing"_s, QJsonObject{{u"price_details"_s, QJsonObject{{u"price"_s, u"price_1PgafmB7WZ01zgkW6dKueIc5"_s},
                                                                          {u"product"_s, u"prod_QXg1hqf4jFNsqG"_s}}},
                                          {u"type"_s, u"price_details"_s},
                                          {u"unit_amount_decimal"_s, u"2000"_s}});
    line.insert(u"subtotal"_s, 2000);
    line.insert(u"taxes"_s, QJsonArray{});
    data.replace(0, line);
    lines.insert(u"data"_s, data);
    invoice.insert(u"lines"_s, lines);
}

QByteArray eventPage(int page)
{
    QJsonArray data;
    for (int i = 0; i < eventsPerPage; ++i) {
        const int n = page * eventsPerPage + i;
        const Shape shape = n % 2 ? Shape::Current : Shape::Legacy;
        StripeBodies::InvoiceFields fields;
        fields.id = u"in_1SQaPaB7WZ01zgkW%1"_s.arg(n, 8, 10, QChar(u'0'));
        fields.charge = u"ch_3SQaPbB7WZ01zgkW%1"_s.arg(n, 8, 10, QChar(u'0'));
        fields.paymentIntent = u"pi_3SQaPbB7WZ01zgkW%1"_s.arg(n, 8, 10, QChar(u'0'));
        fields.created = 1'795'120'000 + n;
        fields.billingReason = n % 7 ? u"subscription_cycle"_s : u"subscription_create"_s;
        fields.customerEmail = u"customer%1@example.com"_s.arg(n);
        QJsonObject invoice = StripeBodies::invoice(fields, shape);
        addInvoiceNoise(invoice, n);
        data.append(StripeBodies::event(u"evt_1SQaQbB7WZ01zgkW%1"_s.arg(n, 8, 10, QChar(u'0')), u"invoice.payment_succeeded"_s,
                                        1'795'123'655 + n, invoice, shape));
    }
    // As the request layer hands bodies over: with room after them for the JSON parser.
    QByteArray body = StripeBodies::page(data, page + 1 < pageCount);
    body.reserve(body.size() + JsonParser::padding);
    return body;
}

const QList<QByteArray> &pages()
{
    static const QList<QByteArray> all = [] {
        QList<QByteArray> out;
        for (int p = 0; p < pageCount; ++p)
            out.append(eventPage(p));
        return out;
    }();
    return all;
}

double peakResidentMegabytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return 0;
}

void setCounters(benchmark::State &state, qint64 bytesPerIteration)
{
    const double events = double(state.iterations()) * pageCount * eventsPerPage;
    state.counters["events/s"] = benchmark::Counter(events, benchmark::Counter::kIsRate);
    state.counters["bytes/event"] = double(bytesPerIteration) / (pageCount * eventsPerPage);
    state.counters["peak_MB"] = peakResidentMegabytes();
    state.SetBytesProcessed(int64_t(state.iterations()) * bytesPerIteration);
}

qint64 totalBytes()
{
    qint64 bytes = 0;
    for (const QByteArray &page : pages())
        bytes += page.size();
    return bytes;
}

void BM_DecodeEventPages(benchmark::State &state)
{
    const auto &all = pages();
    for (auto _ : state) {
        qsizetype decoded = 0;
        for (const QByteArray &body : all) {
            auto page = StripeWire::decode<PaidInvoiceEventListResponse>(body);
            if (!page) {
                state.SkipWithError("decode failed");
                return;
            }
            decoded += page->data.size();
        }
        benchmark::DoNotOptimize(decoded);
    }
    setCounters(state, totalBytes());
}
BENCHMARK(BM_DecodeEventPages)->Unit(benchmark::kMillisecond);

// The JSON parse of the whole bodies alone, through QJsonDocument: a yardstick.
void BM_ParseEventPagesOnly(benchmark::State &state)
{
    const auto &all = pages();
    for (auto _ : state) {
        for (const QByteArray &body : all) {
            QJsonDocument document = QJsonDocument::fromJson(body);
            benchmark::DoNotOptimize(document);
        }
    }
    setCounters(state, totalBytes());
}
BENCHMARK(BM_ParseEventPagesOnly)->Unit(benchmark::kMillisecond);

template<typename T>
QCoro::Task<> storeInto(QCoro::Task<T> task, std::optional<T> &out)
{
    out.emplace(co_await std::move(task));
}

void BM_FetchEventPagesFromLoopback(benchmark::State &state)
{
    const auto &all = pages();
    FakeHttpServer server;
    server.setHandler("GET", "/v1/events", [&all](const RecordedRequest &request) {
        QString after;
        for (const auto &[name, value] : request.queryItems())
            if (name == u"starting_after")
                after = value;
        const int page = after.isEmpty() ? 0 : (after.right(8).toInt() + 1) / eventsPerPage;
        return FakeResponse::json(200, all.value(page));
    });
    Account account;
    account.stripeRestrictedKey = u"rk_test_bench"_s;
    // One listing paged one page after another: the pages here ignore a created window.
    StripeClient client(account, server.baseUrl());
    client.setMaxSlices(1);
    for (auto _ : state) {
        std::optional<Result<QList<RawInvoice>, StripeError>> result;
        QCoro::waitFor(storeInto(client.fetchPaidInvoices(Date::fromUnix(1'795'000'000)), result));
        if (!result || !result->ok() || result->value().size() != pageCount * eventsPerPage) {
            state.SkipWithError("fetch failed");
            return;
        }
        server.clearRecords();
    }
    setCounters(state, totalBytes());
}
BENCHMARK(BM_FetchEventPagesFromLoopback)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
