#include "StartupProbe.h"

#include "QuorvaneApp.h"
#include "engine/RevenueEngine.h"

#include <QCoreApplication>
#include <QFile>
#include <QQuickWindow>
#include <cstdio>
#include <memory>

namespace {

void say(const char *line)
{
    std::fputs(line, stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// The process's peak resident memory in KiB, where the system keeps it.
long long peakKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

} // namespace

void installStartupProbe(QuorvaneApp &app)
{
    if (qEnvironmentVariable("QUORVANE_STARTUP_PROBE") != u"1")
        return;
    struct Seen
    {
        bool frame = false;
        bool feed = false;
    };
    auto seen = std::make_shared<Seen>();
    const auto finishIfDone = [seen] {
        if (!seen->frame || !seen->feed)
            return;
        if (const long long kb = peakKb(); kb >= 0)
            say(QByteArray("peak_kb " + QByteArray::number(kb)).constData());
        QCoreApplication::quit();
    };
    RevenueEngine *engine = app.engine();
    const auto checkFeed = [seen, engine, finishIfDone] {
        if (seen->feed || engine->isLoading())
            return;
        seen->feed = true;
        say("feed");
        finishIfDone();
    };
    QObject::connect(engine, &RevenueEngine::isLoadingChanged, engine, checkFeed);
    if (QQuickWindow *window = app.window())
        QObject::connect(window, &QQuickWindow::frameSwapped, window, [seen, finishIfDone] {
            if (seen->frame)
                return;
            seen->frame = true;
            say("frame");
            finishIfDone();
        });
    checkFeed();
}
