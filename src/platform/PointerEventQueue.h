#pragma once

#include "MouseEventPoster.h"

#include <QElapsedTimer>

#include <deque>
#include <functional>
#include <optional>

// Mouse events waiting for a desktop that cannot take them yet: its session is still being set
// up, or it is slower than the touches. Order is kept. Under backlog (kBacklog or more waiting)
// a motion replaces a motion waiting at the end, so only the newest position is kept; a press
// or a release is never dropped, so the button cannot be left held. Dropping is logged once
// when it starts and once with the count when the backlog is gone. Memory stays bounded: past
// kCapacity a whole click (press and its release) that has not gone out yet is dropped.
class PointerEventQueue
{
public:
    static constexpr qsizetype kBacklog = 64;
    static constexpr qsizetype kCapacity = 4096;
    static constexpr qint64 kMaxAgeMs = 1000;

    void push(const MouseEvent& event);
    std::optional<MouseEvent> takeFirst();
    // Hands the events younger than kMaxAgeMs to post, oldest first, and empties the queue: a
    // touch made while a permission dialog was open must not land seconds later.
    void replay(const std::function<void(const MouseEvent&)>& post);
    // Forgets every waiting event; says so when there were any.
    void discard(const char* why);
    bool isEmpty() const { return m_events.empty(); }
    qsizetype size() const { return qsizetype(m_events.size()); }

private:
    struct Waiting
    {
        MouseEvent event;
        qint64 atMs = 0;
    };
    void dropped();
    void reportEndOfBacklog();

    std::deque<Waiting> m_events;
    QElapsedTimer m_clock;
    qsizetype m_droppedMotions = 0;
    qsizetype m_droppedClicks = 0;
    bool m_pressDropped = false; // its release goes too
};
