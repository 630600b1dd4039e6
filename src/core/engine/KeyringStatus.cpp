#include "KeyringStatus.h"

#include "engine/Credentials.h"

using namespace Qt::StringLiterals;

namespace KeyringStatus {

State afterRead(State current, SecretStore::Status read)
{
    if (current == State::Locked || current == State::Refused)
        return current;
    switch (read) {
    case SecretStore::Status::Ok:
    case SecretStore::Status::NotFound:
        return State::Serving;
    case SecretStore::Status::Locked:
        return State::Locked;
    case SecretStore::Status::Unavailable:
        break;
    }
    return State::Absent;
}

std::optional<QString> notice(State state)
{
    switch (state) {
    case State::Locked:
        return u"The keyring is locked: your accounts' keys stay in it, unread, until it is unlocked and "
               u"Quorvane started again"_s;
    case State::Refused:
        return u"The keyring did not take the key: it is kept in Quorvane's accounts file, readable by you "
               u"alone"_s;
    case State::Serving:
    case State::Absent:
        break;
    }
    return std::nullopt;
}

QString accountError(State state, const QList<Account> &accounts, const QUuid &id, const QString &error)
{
    const bool keyless = std::any_of(accounts.cbegin(), accounts.cend(),
                                     [&](const Account &a) { return a.id == id && !Credentials::hasAny(a); });
    return state == State::Locked && keyless ? u"The keyring is locked"_s : error;
}

QStringList entriesOf(const QList<Account> &accounts)
{
    QStringList out;
    for (const Account &account : accounts)
        out.append(Credentials::keyOf(account));
    return out;
}

} // namespace KeyringStatus
