#include <QCoreApplication>
#include <QLoggingCategory>
#include <gtest/gtest.h>

// Every core test runs inside a Qt event loop owner so coroutines over the network and
// timers can be driven with QCoro::waitFor.
int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
