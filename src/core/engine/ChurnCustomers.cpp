#include "ChurnCustomers.h"

using namespace Qt::StringLiterals;

namespace ChurnCustomers {
namespace {

std::optional<QString> present(const std::optional<QString> &text)
{
    if (text && !text->trimmed().isEmpty())
        return text->trimmed();
    return std::nullopt;
}

} // namespace

QString planOf(const RawSubscription &sub)
{
    if (!sub.items || sub.items->data.isEmpty() || !sub.items->data.first().price)
        return {};
    const RawSubscription::SubscriptionPrice &price = *sub.items->data.first().price;
    if (const auto nickname = present(price.nickname))
        return *nickname;
    if (!price.recurring || !price.recurring->interval || price.recurring->interval_count.value_or(1) != 1)
        return {};
    static const QHash<QString, QString> byInterval{
        {u"day"_s, u"daily plan"_s}, {u"week"_s, u"weekly plan"_s}, {u"month"_s, u"monthly plan"_s}, {u"year"_s, u"yearly plan"_s}};
    return byInterval.value(*price.recurring->interval);
}

void describe(PaymentEvent &event, const RawSubscription &sub, const std::optional<Customer> &customer)
{
    const QString plan = planOf(sub);
    const std::optional<QString> email = customer ? present(customer->email) : std::nullopt;
    // Named, not by e-mail: the e-mail is shown masked while privacy is on, a description never.
    const std::optional<QString> who = customer ? present(customer->name) : std::nullopt;
    const QString what = plan.isEmpty() ? u"subscription"_s : plan;
    if (email)
        event.customerEmail = email;
    event.description = who ? u"%1 canceled %2"_s.arg(*who, what) : u"Canceled "_s + what;
}

} // namespace ChurnCustomers
