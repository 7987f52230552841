#pragma once

#include <cstdint>

// The wall clock and the pauses of the mouse synthesiser, replaceable in tests.
class InputClock
{
public:
    virtual ~InputClock();

    // Seconds since 1970-01-01 UTC.
    virtual double secondsSinceEpoch() = 0;
    // Blocks the calling thread.
    virtual void sleepMicroseconds(std::uint32_t microseconds) = 0;

    // The real clock (system time, usleep).
    static InputClock& system();
};
