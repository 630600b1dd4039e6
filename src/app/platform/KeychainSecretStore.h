#pragma once

#include "storage/SecretStore.h"

#include <memory>

// The desktop keyring through QtKeychain: the Secret Service on Linux, the Keychain on
// macOS, the Credential Manager on Windows. Entries live under the service "Quorvane".
// Returns nothing when the program was built without QtKeychain.
std::shared_ptr<SecretStore> makeDesktopSecretStore();
