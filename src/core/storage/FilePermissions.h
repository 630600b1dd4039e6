#pragma once

#include <QString>

class QFileDevice;

// The data folder holds API keys and customers' e-mails: only the user may read it,
// whatever the umask says.
namespace FilePermissions {

// 0700 on a folder (created when missing).
bool restrictFolder(const QString &path);
// 0600 on an open file, before anything is written into it.
bool restrictToOwner(QFileDevice &file);
// 0600 on every file directly in `folder` and 0700 on its subfolders; temporary copies
// left by an interrupted save ("feed.json.AbC123") are removed. Links are left alone.
void tightenFolder(const QString &folder, const QStringList &dataFiles);

} // namespace FilePermissions
