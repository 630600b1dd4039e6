// An account's home page as the icon cache scans it for icon links.
#include "icons/IconSources.h"

#include <QUrl>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString html = QString::fromUtf8(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    (void)IconSources::scanIconLinks(html, QUrl(QStringLiteral("https://acme.example/")));
    return 0;
}
