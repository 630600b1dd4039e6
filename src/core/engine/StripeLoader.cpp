// Loading one account's provider activity into events.
#include "RevenueEngine.h"

QCoro::Task<Result<StripeLoad, QString>> RevenueEngine::loadFromStripe(Account, Date, CancellationToken)
{
    co_return QStringLiteral("Stripe loading is not available yet");
}

QCoro::Task<Result<QList<PaymentEvent>, QString>> RevenueEngine::loadFromPayPal(Account, Date, CancellationToken)
{
    co_return QStringLiteral("PayPal loading is not available yet");
}
