#include "FuzzDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    writeDataFile(Storage::achievementsFile, data, size);
    QList<FileDamage> damaged;
    (void)fuzzStorage().loadAchievements(&damaged);
    return 0;
}
