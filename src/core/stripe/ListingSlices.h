#pragma once

#include <QList>
#include <QSet>
#include <QString>

// Splitting one listing's `created` window into slices that are paged side by side, and
// putting the slices' records back together. Stripe lists newest first, so slices run from
// the newest to the oldest and the merged list keeps that order.
namespace ListingSlices {

// A window of Unix seconds, both ends included.
struct Slice
{
    qint64 from = 0;
    qint64 to = 0;
    friend bool operator==(const Slice &, const Slice &) = default;
};

// What the first page of a listing said.
struct FirstPage
{
    qsizetype records = 0; // elements on the page
    qint64 newest = 0;     // `created` of the newest and the oldest element
    qint64 oldest = 0;
};

inline constexpr int pageSize = 100;
// Slices are sized for about this many records, so most are read in one page.
inline constexpr int recordsPerSlice = 80;
// At most as many slices as the session has connections to a host.
inline constexpr int maxSlices = 24;

// How many slices the rest of the listing, from `windowStart` to the first page's oldest
// record, is split into: the first page's density over the rest of the window. 1 or less
// means paging on from the first page is as good (a short page, or little left).
int sliceCount(const FirstPage &first, qint64 windowStart, int limit = maxSlices);

// `count` contiguous slices covering [from, to], newest first, none empty; fewer when the
// window has fewer seconds than that, none when it is empty.
QList<Slice> split(qint64 from, qint64 to, int count);

// The records of one run of pages, with the id of the listed object each came from.
template<typename T>
struct Part
{
    QList<QString> ids;
    QList<T> records;
};

// The parts in order, each record once: a record listed again by a later part (the first
// page and the newest slice share the second at their edge) is dropped.
template<typename T>
QList<T> merge(QList<Part<T>> parts)
{
    QList<T> out;
    qsizetype total = 0;
    for (const Part<T> &part : parts)
        total += part.records.size();
    out.reserve(total);
    QSet<QString> seen;
    seen.reserve(total);
    for (Part<T> &part : parts)
        for (qsizetype i = 0; i < part.records.size(); ++i)
            if (!seen.contains(part.ids[i])) {
                seen.insert(part.ids[i]);
                out.append(std::move(part.records[i]));
            }
    return out;
}

} // namespace ListingSlices
