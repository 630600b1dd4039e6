#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

// A pass over a Stripe response body that drops what no wire record reads before the body
// reaches QJsonDocument, whose parse allocates for every key and value it meets. Real
// objects are mostly line items, addresses and settings nobody here looks at.
namespace StripeJsonPrune {

// Nesting this pass follows; a deeper body is left to the full parser.
inline constexpr int maxDepth = 512;

// `body` with every object reduced to the members whose key some Stripe record reads
// (`metadata` and members with escaped keys are kept whole), arrays keeping all their
// elements and every kept token byte for byte. Returns nothing unless `body` is a JSON
// object this pass can vouch for (strict syntax and UTF-8, plain numbers, bounded depth);
// the caller then parses `body` itself, so verdicts and error texts stay the full parser's.
std::optional<QByteArray> prune(QByteArrayView body);

// Whether some record reads a member named `key`.
bool isReadKey(QByteArrayView key);

} // namespace StripeJsonPrune
