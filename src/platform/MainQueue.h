#pragma once

#include <QObject>

#include <chrono>
#include <functional>

namespace MainQueue {

// A one-shot task on the main thread after a fixed delay. The task runs even if nothing else
// holds the objects it captured; capture what it needs by value (shared pointers keep alive).
void after(std::chrono::milliseconds delay, std::function<void()> task);

// The same, dropped if context is destroyed first.
void after(std::chrono::milliseconds delay, QObject* context, std::function<void()> task);

// Queues a task for the next pass of the main event loop.
void async(std::function<void()> task);

} // namespace MainQueue
