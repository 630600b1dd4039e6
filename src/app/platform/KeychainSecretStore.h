#pragma once

#include "storage/SecretStore.h"

#include <QDBusConnection>
#include <memory>

// The desktop keyring through QtKeychain: the Secret Service on Linux, the Keychain on
// macOS, the Credential Manager on Windows. Entries live under the service "Quorvane".
// Returns nothing when the program was built without QtKeychain.
std::shared_ptr<SecretStore> makeDesktopSecretStore();

// Whether storing a key will first make the desktop ask the user to set up a keyring: a Secret
// Service answers on `bus` but has no default collection yet.
bool keyringNeedsSetup(const QDBusConnection &bus);
