#include "shell/Fonts.h"

#include <QApplication>
#include <QQuickStyle>
#include <gtest/gtest.h>

extern void qml_register_types_Quorvane();

// The app tests need a GUI application (clipboard, fonts, Qt Quick) on the offscreen platform.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
    qml_register_types_Quorvane();
    installApplicationFont();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
