#include "PendingKeyRemovals.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

QByteArray encoded(const QStringList &entries)
{
    return QJsonDocument(QJsonArray::fromStringList(entries)).toJson(QJsonDocument::Compact);
}

} // namespace

QStringList PendingKeyRemovals::saved() const
{
    QStringList out;
    const std::optional<QByteArray> bytes = m_storage.read(fileName);
    const QJsonArray array = bytes ? QJsonDocument::fromJson(*bytes).array() : QJsonArray();
    for (const QJsonValue &value : array)
        if (value.isString() && !out.contains(value.toString()))
            out.append(value.toString());
    return out;
}

QStringList PendingKeyRemovals::entries() const
{
    QStringList out = saved();
    for (const QString &entry : std::as_const(*m_unsaved))
        if (!out.contains(entry))
            out.append(entry);
    return out;
}

Storage::Saved PendingKeyRemovals::add(const QString &entry) const
{
    QStringList queued = saved();
    if (queued.contains(entry))
        return Done{};
    queued.append(entry);
    Storage::Saved written = m_storage.writeAtomically(fileName, encoded(queued));
    if (!written && !m_unsaved->contains(entry))
        m_unsaved->append(entry);
    return written;
}

Storage::Saved PendingKeyRemovals::drop(const QStringList &gone) const
{
    const auto isGone = [&](const QString &entry) { return gone.contains(entry); };
    m_unsaved->removeIf(isGone);
    QStringList queued = saved();
    if (queued.removeIf(isGone) == 0)
        return Done{};
    return m_storage.writeAtomically(fileName, encoded(queued));
}

QCoro::Task<> removePendingKeys(std::shared_ptr<SecretStore> store, PendingKeyRemovals queue, QStringList inUse)
{
    const QStringList queued = queue.entries();
    QStringList settled;
    for (const QString &entry : queued) {
        const bool gone = inUse.contains(entry) || co_await store->remove(entry);
        if (gone)
            settled.append(entry);
    }
    // A queue file that cannot be rewritten now still lists entries already gone: the next
    // start asks the keyring to drop them again, which it takes as done.
    if (!settled.isEmpty())
        queue.drop(settled);
}
