#include "ManualClock.h"

#include "RecordingEventPoster.h"

ManualClock::ManualClock(RecordingEventPoster* record)
    : m_record(record)
{ }

void ManualClock::sleepMicroseconds(std::uint32_t microseconds)
{
    m_seconds += double(microseconds) / 1e6;
    if (m_record)
        m_record->recordSleep(microseconds);
}
