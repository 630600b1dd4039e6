// The remote version file, and the update decision over whatever it holds.
#include "update/RemoteVersionConfig.h"
#include "update/SemVer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    if (const auto config = RemoteVersionConfig::decode(body))
        (void)updateStateFor(*config, QStringLiteral("0.1.0"));
    (void)SemVer::parse(QString::fromUtf8(body));
    return 0;
}
