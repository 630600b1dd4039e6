#pragma once

#include "model/PaymentEvent.h"

#include <QByteArray>
#include <QList>

class QFile;
#include <optional>

// "feed.json": a compact JSON array of events with ISO 8601 dates. The feed is the one file
// that grows with the business (100 000 events is a normal size), so it has its own writer
// and a strict reader for exactly its shape. Anything the strict reader does not expect
// goes through the general JSON decoder, which has the final word, so both paths accept
// and reject the same files: unknown keys are ignored; a missing, null or mistyped required
// key, an unknown kind or bad JSON anywhere loses the whole file.
QByteArray encodeFeed(const QList<PaymentEvent> &feed);
std::optional<QList<PaymentEvent>> decodeFeed(const QByteArray &bytes);

// decodeFeed over an open file, reading it through a memory mapping whose pages are given
// back as the reader passes them: a large feed is never held as bytes and events at once.
std::optional<QList<PaymentEvent>> decodeFeedFile(QFile &file);

// The two paths of decodeFeed, callable alone so tests can hold one to the other. The strict
// reader answers nullopt whenever it leaves the verdict to the general path.
std::optional<QList<PaymentEvent>> decodeFeedStrict(const QByteArray &bytes);
std::optional<QList<PaymentEvent>> decodeFeedGeneral(const QByteArray &bytes);
