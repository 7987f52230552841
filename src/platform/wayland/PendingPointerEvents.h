#pragma once

#include "platform/MouseEventPoster.h"

#include <QElapsedTimer>

#include <deque>
#include <functional>

// Mouse events posted while a desktop session is still being set up (or the backend is still
// being chosen). They are replayed in order once it is ready, but only those younger than
// kMaxAgeMs: a touch made while a permission dialog was open must not land seconds later.
// At most kCapacity are kept; further ones are dropped with one log line.
class PendingPointerEvents
{
public:
    static constexpr qsizetype kCapacity = 512;
    static constexpr qint64 kMaxAgeMs = 1000;

    void push(const MouseEvent& event);
    // Hands the events still fresh to post, oldest first, and empties the list.
    void replay(const std::function<void(const MouseEvent&)>& post);
    // Forgets every waiting event; says so when there were any.
    void discard(const char* why);
    bool isEmpty() const { return m_events.empty(); }

private:
    struct Waiting
    {
        MouseEvent event;
        qint64 atMs = 0;
    };
    std::deque<Waiting> m_events;
    QElapsedTimer m_clock;
    bool m_overflowReported = false;
};
