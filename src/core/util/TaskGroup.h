#pragma once

#include "util/Cancellation.h"

#include <QCoroTask>
#include <algorithm>
#include <vector>

// The one owner of tasks that nobody awaits: a loop, a user-started refresh, a background
// fill. QCoro tasks run from the moment they are called and cannot be torn down while
// suspended, so an owner ends them by cancelling: every task started here gets the group's
// token, every await inside it wakes when the token is cancelled, and after every await it
// checks that what it touches still exists. cancel() and the destructor cancel the token;
// tasks started afterwards get a fresh one.
class TaskGroup
{
public:
    TaskGroup() = default;
    TaskGroup(const TaskGroup &) = delete;
    TaskGroup &operator=(const TaskGroup &) = delete;
    ~TaskGroup() { m_token.cancel(); }

    // Runs `start(token)`, which returns the task, and keeps the task.
    template<typename Start>
    void start(Start &&start)
    {
        std::erase_if(m_tasks, [](const QCoro::Task<> &task) { return task.isReady(); });
        m_tasks.push_back(std::forward<Start>(start)(m_token));
    }

    void cancel()
    {
        m_token.cancel();
        m_token = CancellationToken();
    }

    bool isRunning() const
    {
        return std::any_of(m_tasks.begin(), m_tasks.end(), [](const QCoro::Task<> &task) { return !task.isReady(); });
    }

private:
    CancellationToken m_token;
    std::vector<QCoro::Task<>> m_tasks;
};
