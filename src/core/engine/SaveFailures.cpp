#include "SaveFailures.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

QString what(SaveFailures::File file)
{
    switch (file) {
    case SaveFailures::File::Accounts: return u"your accounts"_s;
    case SaveFailures::File::Preferences: return u"your settings"_s;
    case SaveFailures::File::Feed: return u"the latest events"_s;
    case SaveFailures::File::SyncState: return u"the refresh progress"_s;
    case SaveFailures::File::Achievements: return u"your records"_s;
    }
    return {};
}

} // namespace

bool SaveFailures::record(File file, const Result<Done, QString> &saved)
{
    if (saved.ok())
        return m_reasons.erase(file) > 0;
    auto [it, inserted] = m_reasons.try_emplace(file, saved.error());
    if (!inserted && it->second == saved.error())
        return false;
    it->second = saved.error();
    return true;
}

std::optional<QString> SaveFailures::text() const
{
    if (m_reasons.empty())
        return std::nullopt;
    QStringList lines;
    for (const auto &[file, reason] : m_reasons)
        lines.append(u"Couldn't save %1: %2"_s.arg(what(file), reason));
    return lines.join(u" · "_s);
}
