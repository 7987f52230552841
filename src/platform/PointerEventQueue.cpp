#include "PointerEventQueue.h"

#include "Logging.h"

namespace {
bool isButton(const MouseEvent& event)
{
    return event.kind == MouseEventKind::LeftDown || event.kind == MouseEventKind::LeftUp;
}
} // namespace

void PointerEventQueue::push(const MouseEvent& event)
{
    if (!m_clock.isValid())
        m_clock.start();
    const qint64 now = m_clock.elapsed();
    const bool backlog = size() >= kBacklog;
    if (!isButton(event)) {
        if (backlog && !isButton(m_events.back().event)) {
            m_events.back() = {event, now}; // the newest position is what counts
            ++m_droppedMotions;
            dropped();
            return;
        }
        if (size() >= kCapacity) {
            ++m_droppedMotions;
            dropped();
            return;
        }
    } else if (event.kind == MouseEventKind::LeftUp && m_pressDropped) {
        m_pressDropped = false;
        return; // its press never went out
    } else if (size() >= kCapacity) {
        if (event.kind == MouseEventKind::LeftDown) {
            m_pressDropped = true;
            ++m_droppedClicks;
            dropped();
            return;
        }
    }
    m_events.push_back({event, now});
}

void PointerEventQueue::dropped()
{
    if (m_droppedMotions + m_droppedClicks == 1)
        qCWarning(lcInput) << "The desktop does not keep up with the touches: dropping motions "
                              "until it catches up (presses and releases are kept)";
}

void PointerEventQueue::reportEndOfBacklog()
{
    if (m_droppedMotions + m_droppedClicks == 0)
        return;
    qCInfo(lcInput).nospace() << "The desktop caught up: dropped " << m_droppedMotions
                              << " motions and " << m_droppedClicks << " clicks";
    m_droppedMotions = 0;
    m_droppedClicks = 0;
}

std::optional<MouseEvent> PointerEventQueue::takeFirst()
{
    if (m_events.empty())
        return std::nullopt;
    const MouseEvent event = m_events.front().event;
    m_events.pop_front();
    if (m_events.empty())
        reportEndOfBacklog();
    return event;
}

void PointerEventQueue::replay(const std::function<void(const MouseEvent&)>& post)
{
    const qint64 now = m_clock.isValid() ? m_clock.elapsed() : 0;
    qsizetype stale = 0;
    std::deque<Waiting> events;
    events.swap(m_events);
    reportEndOfBacklog();
    for (const Waiting& waiting : events) {
        if (now - waiting.atMs > kMaxAgeMs)
            ++stale;
        else
            post(waiting.event);
    }
    if (stale > 0)
        qCInfo(lcInput) << "Dropped" << stale
                        << "touch events that waited more than a second for the desktop session";
}

void PointerEventQueue::discard(const char* why)
{
    if (!m_events.empty())
        qCInfo(lcInput).noquote() << "Dropped" << m_events.size() << "touch events:" << why;
    m_events.clear();
    reportEndOfBacklog();
    m_pressDropped = false;
}
