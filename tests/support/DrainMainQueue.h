#pragma once

#include "platform/MainQueue.h"

#include <QTest>

// Returns once every task queued on the main queue before the call has run: tasks run in the
// order they were queued, so a marker queued now runs after all of them.
inline bool drainMainQueue()
{
    bool reached = false;
    MainQueue::async([&reached] { reached = true; });
    return QTest::qWaitFor([&reached] { return reached; }, 5000);
}
