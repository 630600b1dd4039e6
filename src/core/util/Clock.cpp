#include "Clock.h"

#include <QCoroSignal>
#include <QTimer>

#include <chrono>

Date SystemClock::now() const
{
    return Date::fromDateTime(QDateTime::currentDateTimeUtc());
}

double SystemClock::monotonicSeconds() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

QCoro::Task<> SystemClock::sleep(double seconds, CancellationToken token)
{
    if (token.isCancelled())
        co_return;
    Waker waker;
    QTimer timer;
    timer.setSingleShot(true);
    // A coarse timer may be off by 5 %: fine for minutes, not for the turns of a request
    // budget a few milliseconds apart.
    timer.setTimerType(seconds < 1.0 ? Qt::PreciseTimer : Qt::CoarseTimer);
    QObject::connect(&timer, &QTimer::timeout, &waker, &Waker::wake);
    QObject::connect(token.state(), &CancellationState::cancelled, &waker, &Waker::wake);
    timer.start(static_cast<int>(std::clamp(seconds, 0.0, 86400.0) * 1000.0));
    co_await qCoro(&waker, &Waker::woke);
}
