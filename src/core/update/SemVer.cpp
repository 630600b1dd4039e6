#include "SemVer.h"

#include <QString>

using namespace Qt::StringLiterals;

namespace {

// A piece of plain decimal digits (optionally signed with "+") that fits; anything else is 0.
qint64 componentValue(QStringView piece)
{
    if (piece.startsWith(u'+'))
        piece = piece.mid(1);
    if (piece.isEmpty() || piece.size() > 18)
        return 0;
    qint64 value = 0;
    for (QChar c : piece) {
        if (c < u'0' || c > u'9')
            return 0;
        value = value * 10 + (c.unicode() - u'0');
    }
    return value;
}

bool isTrimmed(QChar c)
{
    return c == u'v' || c == u' ';
}

} // namespace

SemVer SemVer::parse(QStringView text)
{
    const QString lower = text.toString().toLower();
    qsizetype begin = 0;
    qsizetype end = lower.size();
    while (begin < end && isTrimmed(lower.at(begin)))
        ++begin;
    while (end > begin && isTrimmed(lower.at(end - 1)))
        --end;
    QStringView core = QStringView(lower).sliced(begin, end - begin);
    const auto dashPieces = core.split(u'-', Qt::SkipEmptyParts);
    if (!dashPieces.isEmpty())
        core = dashPieces.constFirst();

    SemVer version;
    for (QStringView piece : core.split(u'.', Qt::SkipEmptyParts))
        version.components.append(componentValue(piece));
    return version;
}

std::strong_ordering operator<=>(const SemVer &a, const SemVer &b)
{
    const qsizetype length = std::max(a.components.size(), b.components.size());
    for (qsizetype i = 0; i < length; ++i) {
        const qint64 left = a.components.value(i, 0);
        const qint64 right = b.components.value(i, 0);
        if (left != right)
            return left <=> right;
    }
    return std::strong_ordering::equal;
}
