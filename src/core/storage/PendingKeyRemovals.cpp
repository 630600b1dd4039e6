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

void PendingKeyRemovals::add(const QString &entry) const
{
    QStringList queued = saved();
    if (queued.contains(entry))
        return;
    queued.append(entry);
    if (!m_storage.writeAtomically(fileName, encoded(queued)) && !m_unsaved->contains(entry))
        m_unsaved->append(entry);
}

void PendingKeyRemovals::drop(const QStringList &gone) const
{
    const auto isGone = [&](const QString &entry) { return gone.contains(entry); };
    m_unsaved->removeIf(isGone);
    QStringList queued = saved();
    if (queued.removeIf(isGone) > 0 && !m_storage.writeAtomically(fileName, encoded(queued)))
        return; // see the header: harmless, and tried again at the next start
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
    if (!settled.isEmpty())
        queue.drop(settled);
}
