#include "ListingSlices.h"

#include <cmath>

namespace ListingSlices {

int sliceCount(const FirstPage &first, qint64 windowStart, int limit)
{
    if (first.records < pageSize || first.oldest < windowStart)
        return 1;
    const double pageSpan = double(std::max<qint64>(1, first.newest - first.oldest + 1));
    const double restSpan = double(first.oldest - windowStart + 1);
    const double expected = double(first.records) / pageSpan * restSpan;
    const double wanted = std::ceil(expected / recordsPerSlice);
    return int(std::clamp(wanted, 1.0, double(std::min<qint64>(limit, qint64(restSpan)))));
}

QList<Slice> split(qint64 from, qint64 to, int count)
{
    QList<Slice> slices;
    if (to < from || count < 1)
        return slices;
    const qint64 seconds = to - from + 1;
    const qint64 n = std::min<qint64>(count, seconds);
    slices.reserve(n);
    qint64 upper = to;
    for (qint64 i = 0; i < n; ++i) {
        // The first seconds % n slices get one second more.
        const qint64 length = seconds / n + (i < seconds % n ? 1 : 0);
        slices.append({upper - length + 1, upper});
        upper -= length;
    }
    return slices;
}

} // namespace ListingSlices
