#include "FuzzDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    writeDataFile(Storage::feedFile, data, size);
    QList<FileDamage> damaged;
    (void)fuzzStorage().loadFeed(&damaged);
    return 0;
}
