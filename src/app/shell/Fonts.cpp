#include "Fonts.h"

#include <QDir>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

QString installApplicationFont()
{
    QString family;
    const QDir fonts(u":/fonts"_s);
    for (const QString &file : fonts.entryList(QDir::Files)) {
        const int id = QFontDatabase::addApplicationFont(fonts.filePath(file));
        if (id >= 0 && family.isEmpty()) {
            const QStringList families = QFontDatabase::applicationFontFamilies(id);
            if (!families.isEmpty())
                family = families.first();
        }
    }
    QFont font = QGuiApplication::font();
    if (!family.isEmpty()) {
        font.setFamilies({family});
        font.setPixelSize(13);
        QGuiApplication::setFont(font);
    }
    return QGuiApplication::font().family();
}
