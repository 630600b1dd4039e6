#include "FuzzDataFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    writeDataFile(Storage::accountsFile, data, size);
    QList<FileDamage> damaged;
    (void)fuzzStorage().loadAccounts(&damaged);
    return 0;
}
