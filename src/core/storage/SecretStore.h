#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>
#include <optional>

// The desktop's keyring (Secret Service, Keychain, Credential Manager), seen from the core.
// The platform layer supplies the implementation; without one, credentials stay in the
// accounts file, readable by the user alone.
class SecretStore
{
public:
    // Locked: the keyring is there but would not open (a prompt refused or dismissed).
    enum class Status { Ok, NotFound, Unavailable, Locked };
    struct ReadResult
    {
        Status status = Status::Unavailable;
        QByteArray value;
    };

    virtual ~SecretStore() = default;
    // Each call completes once, asynchronously; none blocks the caller's thread.
    virtual QCoro::Task<ReadResult> read(QString key) = 0;
    virtual QCoro::Task<bool> write(QString key, QByteArray value) = 0;
    virtual QCoro::Task<bool> remove(QString key) = 0;
};
