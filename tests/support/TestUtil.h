#pragma once

#include <QCoroTask>
#include <QElapsedTimer>
#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <functional>

// Sanitizer builds run several times slower, and child processes with them: give every wait
// that much more room rather than tuning each test for the slowest build.
#ifdef QUORVANE_SANITIZE
inline constexpr int waitScale = 3;
#else
inline constexpr int waitScale = 1;
#endif

// Runs the event loop until `done` holds or `timeoutMs` (scaled) passes; returns whether it held.
inline bool waitUntil(const std::function<bool()> &done, int timeoutMs = 5000)
{
    timeoutMs *= waitScale;
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > timeoutMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
    }
    return true;
}

// Runs `task` to its end. QCoro::waitFor wants a default-constructible result, which Result is not.
template<typename T>
T run(QCoro::Task<T> task)
{
    std::optional<T> out;
    QCoro::waitFor([&]() -> QCoro::Task<> { out.emplace(co_await std::move(task)); }());
    return std::move(*out);
}

inline QByteArray readFile(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

// Collects what reaches Qt's message handler as a warning or worse while it lives. In the
// panel a warning is a broken binding or a missing property: a blank or wrong part of it.
class WarningCollector
{
public:
    WarningCollector() : m_previous(qInstallMessageHandler(collect)) { warnings().clear(); }
    ~WarningCollector() { qInstallMessageHandler(m_previous); }
    WarningCollector(const WarningCollector &) = delete;
    WarningCollector &operator=(const WarningCollector &) = delete;

    // All collected so far, one per line; empty when there were none.
    std::string text() const { return warnings().join(u'\n').toStdString(); }

private:
    static QStringList &warnings()
    {
        static QStringList list;
        return list;
    }
    static void collect(QtMsgType type, const QMessageLogContext &, const QString &message)
    {
        if (type != QtDebugMsg && type != QtInfoMsg)
            warnings().append(message);
    }
    QtMessageHandler m_previous;
};
