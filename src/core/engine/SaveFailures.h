#pragma once

#include "util/Result.h"

#include <QString>
#include <map>
#include <optional>

// The data files whose last save failed, each with its reason, until a save of it succeeds.
// The engine tries them again on every refresh and shows them beside the refresh errors.
class SaveFailures
{
public:
    enum class File { Accounts, Preferences, Feed, SyncState, Achievements };

    // Takes one save's outcome; true when the text the user sees changed.
    bool record(File file, const Result<Done, QString> &saved);
    bool isPending(File file) const { return m_reasons.count(file) > 0; }
    // "Couldn't save your accounts: the disk is full", the files joined with " · ".
    std::optional<QString> text() const;

private:
    std::map<File, QString> m_reasons;
};
