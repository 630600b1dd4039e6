#include "VirtualClock.h"

#include <QCoreApplication>
#include <QCoroSignal>

VirtualClock::VirtualClock(Date start)
    : m_now(start)
{
}

QCoro::Task<> VirtualClock::sleep(double seconds, CancellationToken token)
{
    m_requested.append(seconds);
    if (token.isCancelled())
        co_return;
    auto waker = std::make_shared<Waker>();
    m_sleepers.append({m_monotonic + seconds, waker});
    QObject::connect(token.state(), &CancellationState::cancelled, waker.get(), &Waker::wake);
    co_await qCoro(waker.get(), &Waker::woke);
}

int VirtualClock::sleepingCount() const
{
    int n = 0;
    for (const auto &s : m_sleepers)
        if (!s.waker->isWoken())
            ++n;
    return n;
}

void VirtualClock::settle(int rounds)
{
    for (int i = 0; i < rounds; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void VirtualClock::advance(double seconds)
{
    const double start = m_monotonic;
    const Date wallStart = m_now;
    const double target = start + seconds;
    for (;;) {
        settle();
        m_sleepers.removeIf([](const Sleeper &s) { return s.waker->isWoken(); });
        auto next = std::min_element(m_sleepers.begin(), m_sleepers.end(),
                                     [](const Sleeper &a, const Sleeper &b) { return a.deadline < b.deadline; });
        if (next == m_sleepers.end() || next->deadline > target)
            break;
        m_monotonic = std::max(m_monotonic, next->deadline);
        m_now = wallStart.addingSeconds(m_monotonic - start);
        const auto waker = next->waker;
        m_sleepers.erase(next);
        waker->wake();
    }
    m_monotonic = target;
    m_now = wallStart.addingSeconds(seconds);
    settle();
}
