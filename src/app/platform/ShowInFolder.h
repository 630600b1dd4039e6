#pragma once

#include <QString>

namespace Platform {

// Opens the file manager on the folder of `path` with the file selected, through the desktop's
// file manager service where one runs; otherwise opens the folder itself.
void showInFolder(const QString &path);

} // namespace Platform
