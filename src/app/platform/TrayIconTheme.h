#pragma once

#include <QImage>
#include <QString>

// The tray icon as a small icon theme folder written at start, so that hosts which only draw
// icons by name (the AppIndicator hosts show a broken image for a pixmap-only item) find it:
// `<folder>/hicolor/<n>x<n>/apps/<name>.png` for the usual tray sizes, plus one unthemed copy
// at the top, which GTK falls back to when the theme lookup misses.
class TrayIconTheme
{
public:
    // `folder` empty: a folder in the user's cache.
    explicit TrayIconTheme(QString folder = {});

    // Writes every size from `source` (a square image, larger than the largest size) and
    // returns the icon's name, or empty when it could not be written. The name follows the
    // picture ("quorvane-tray-<hash>"): hosts cache icons by name, so a new picture needs a
    // new name to be drawn.
    QString write(const QImage &source) const;
    QString folder() const { return m_folder; }

private:
    QString m_folder;
};
