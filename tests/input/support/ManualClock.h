#pragma once

#include "input/InputClock.h"

#include <QtGlobal>

class RecordingEventPoster;

// A clock that stands still until told to move. Pauses do not block; they advance the clock
// and are written into the poster's record (when one is given) so their place is visible.
class ManualClock final : public InputClock
{
public:
    explicit ManualClock(RecordingEventPoster* record = nullptr);

    double secondsSinceEpoch() override { return m_seconds; }
    void sleepMicroseconds(std::uint32_t microseconds) override;

    void setSeconds(double seconds) { m_seconds = seconds; }
    void setMilliseconds(qint64 ms) { m_seconds = double(ms) / 1000.0; }
    void advanceMilliseconds(qint64 ms) { m_seconds += double(ms) / 1000.0; }

private:
    RecordingEventPoster* m_record;
    double m_seconds = 1700000000.0;
};
