#pragma once

#include <QObject>
#include <memory>

// Shared flag that the owner of a task sets and the task polls at its cancellation points.
// Sleeps watch it too, so a cancelled loop wakes at once instead of finishing its sleep.
class CancellationState : public QObject
{
    Q_OBJECT
public:
    bool isCancelled() const { return m_cancelled; }
    void cancel()
    {
        if (m_cancelled)
            return;
        m_cancelled = true;
        Q_EMIT cancelled();
    }
Q_SIGNALS:
    void cancelled();

private:
    bool m_cancelled = false;
};

// Emits `woke` once; lets a coroutine wait for whichever of several sources comes first.
class Waker : public QObject
{
    Q_OBJECT
public:
    void wake()
    {
        if (m_woken)
            return;
        m_woken = true;
        Q_EMIT woke();
    }
    bool isWoken() const { return m_woken; }
Q_SIGNALS:
    void woke();

private:
    bool m_woken = false;
};

class CancellationToken
{
public:
    CancellationToken() : m_state(std::make_shared<CancellationState>()) {}
    static CancellationToken none() { return CancellationToken(); }

    bool isCancelled() const { return m_state->isCancelled(); }
    void cancel() const { m_state->cancel(); }
    // A token of its own that is also cancelled with this one: lets a task stop the work it
    // started without cancelling whoever it works for.
    CancellationToken linked() const
    {
        CancellationToken child;
        if (isCancelled())
            child.cancel();
        else
            QObject::connect(m_state.get(), &CancellationState::cancelled, child.state(), &CancellationState::cancel);
        return child;
    }
    CancellationState *state() const { return m_state.get(); }

private:
    std::shared_ptr<CancellationState> m_state;
};
