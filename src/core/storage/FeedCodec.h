#pragma once

#include "model/PaymentEvent.h"

#include <QByteArray>
#include <QList>
#include <optional>

class QFile;

// "feed.json": a compact JSON array of events with ISO 8601 dates, one event a line. The
// feed is the one file that grows with the business (100 000 events is a normal size), so
// it has its own writer, and its reader takes it in slices to keep memory flat. Unknown keys
// are ignored; a missing, null or mistyped required key, an unknown kind or bad JSON
// anywhere loses the whole file.
QByteArray encodeFeed(const QList<PaymentEvent> &feed);
std::optional<QList<PaymentEvent>> decodeFeed(QByteArrayView bytes);

// decodeFeed over an open file, read a slice at a time: a large feed is never held as bytes
// and events at once. A read error (EIO from a failing disk) is its errno, never a verdict
// on the file's content.
struct FeedFileRead
{
    std::optional<QList<PaymentEvent>> events;
    int readError = 0;
};
FeedFileRead decodeFeedFile(QFile &file);
