#pragma once

#include "model/Account.h"
#include "storage/SecretStore.h"

#include <QString>
#include <QStringList>
#include <optional>

// How the desktop keyring has answered so far, and what the user is told about it.
namespace KeyringStatus {

enum class State {
    Serving,  // keys are read from and written to it
    Absent,   // no keyring answers: the private accounts file keeps the keys, as the editor says
    Locked,   // it would not open: the keys it holds are unknown, not missing
    Refused,  // it did not take a key: that key is kept in the private accounts file
};

// The state after reading an entry in `current`; a keyring that locked or refused once stays so.
State afterRead(State current, SecretStore::Status read);

// The line shown above the refresh errors; none while nothing needs saying.
std::optional<QString> notice(State state);

// A refresh error of the account `id` as the user should read it: with a locked keyring, an
// account without its keys says why.
QString accountError(State state, const QList<Account> &accounts, const QUuid &id, const QString &error);

// The keyring entries `accounts` name.
QStringList entriesOf(const QList<Account> &accounts);

} // namespace KeyringStatus
