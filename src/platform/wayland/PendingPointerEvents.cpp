#include "PendingPointerEvents.h"

#include "platform/Logging.h"

void PendingPointerEvents::push(const MouseEvent& event)
{
    if (!m_clock.isValid())
        m_clock.start();
    if (qsizetype(m_events.size()) >= kCapacity) {
        if (!m_overflowReported)
            qCWarning(lcInput) << "Touch events arrive faster than the desktop session starts; "
                                  "dropping them until it is ready";
        m_overflowReported = true;
        return;
    }
    m_events.push_back({event, m_clock.elapsed()});
}

void PendingPointerEvents::replay(const std::function<void(const MouseEvent&)>& post)
{
    const qint64 now = m_clock.isValid() ? m_clock.elapsed() : 0;
    qsizetype stale = 0;
    std::deque<Waiting> events;
    events.swap(m_events);
    m_overflowReported = false;
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

void PendingPointerEvents::discard(const char* why)
{
    if (!m_events.empty())
        qCInfo(lcInput).noquote() << "Dropped" << m_events.size() << "touch events:" << why;
    m_events.clear();
    m_overflowReported = false;
}
