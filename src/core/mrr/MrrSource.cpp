#include "MrrSource.h"

#include "stripe/StripeSource.h"

namespace MrrSource {

QCoro::Task<Result<MrrListing, QString>> load(std::shared_ptr<const StripeSource>, QUuid, Date, CancellationToken)
{
    co_return MrrListing{};
}

} // namespace MrrSource
