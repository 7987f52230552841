#include "InputClock.h"

#include <chrono>

#include <unistd.h>

namespace {
class SystemClock final : public InputClock
{
public:
    double secondsSinceEpoch() override
    {
        using Seconds = std::chrono::duration<double>;
        return std::chrono::duration_cast<Seconds>(
            std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    void sleepMicroseconds(std::uint32_t microseconds) override { ::usleep(microseconds); }
};
} // namespace

InputClock::~InputClock() = default;

InputClock& InputClock::system()
{
    static SystemClock clock;
    return clock;
}
