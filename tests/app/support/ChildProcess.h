#pragma once

#include <QElapsedTimer>
#include <QProcess>

// A child process that is always stopped when the test ends, whatever happened.
struct ChildProcess
{
    QProcess process;
    ~ChildProcess()
    {
        if (process.state() == QProcess::NotRunning)
            return;
        process.terminate();
        if (!process.waitForFinished(1500))
            process.kill();
        process.waitForFinished(1500);
    }
};

// The first line a child prints (an address, a display number), or empty after the timeout.
inline QString firstLine(QProcess &process, int timeoutMs)
{
    QByteArray out;
    QElapsedTimer timer;
    timer.start();
    while (!out.contains('\n') && timer.elapsed() < timeoutMs) {
        process.waitForReadyRead(100);
        out += process.readAllStandardOutput();
    }
    return QString::fromUtf8(out.left(out.indexOf('\n'))).trimmed();
}

// A private session bus in `daemon`; its address, or empty when it did not start in time.
inline QString startSessionBus(ChildProcess &daemon)
{
    daemon.process.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                          QStringLiteral("--print-address=1")});
    return firstLine(daemon.process, 5000);
}
