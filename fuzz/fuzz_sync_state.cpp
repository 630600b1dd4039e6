#include "FuzzDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    writeDataFile(Storage::syncStateFile, data, size);
    QList<FileDamage> damaged;
    (void)fuzzStorage().loadSyncState(&damaged);
    return 0;
}
