#pragma once

#include "model/Account.h"

#include <QByteArray>
#include <optional>

// The three credential strings of an account as one keyring entry, and the account as it is
// written to the accounts file once its entry is safe in the keyring.
namespace Credentials {

bool hasAny(const Account &account);
QByteArray encode(const Account &account);
// Fills the credentials of `account` from an entry; false when the entry is not ours.
bool decodeInto(const QByteArray &entry, Account &account);
Account stripped(Account account);
// The keyring entry's name for an account.
QString keyOf(const Account &account);

} // namespace Credentials
