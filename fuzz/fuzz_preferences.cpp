#include "FuzzDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    writeDataFile(Storage::preferencesFile, data, size);
    QList<FileDamage> damaged;
    (void)fuzzStorage().loadPreferences(&damaged);
    return 0;
}
