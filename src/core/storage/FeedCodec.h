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

// decodeFeed over an open file, reading it through a memory mapping whose pages are given
// back as the reader passes them: a large feed is never held as bytes and events at once.
std::optional<QList<PaymentEvent>> decodeFeedFile(QFile &file);
