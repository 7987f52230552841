// The touch datagram path: bytes as they arrive on port 41863, through the first-record split,
// into MouseSimulate, which posts to a recording poster on a clock that never blocks. An input
// holds up to eight datagrams separated by an empty line; each comes 300 ms after the one before,
// so that clicks, double clicks and drags are all reached.
#include "FuzzApplication.h"
#include "ManualClock.h"
#include "RecordingEventPoster.h"

#include "dashboard/DashboardViewController.h"
#include "input/MouseSimulate.h"

#include <QHostAddress>

#include <cstddef>
#include <cstdint>

namespace {
constexpr int kMaxDatagrams = 8;
constexpr qint64 kStepMs = 300;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::application();
    static RecordingEventPoster poster;
    static ManualClock clock;
    static DashboardViewController* dashboard = [] {
        MouseEventPoster::setDefault(&poster);
        return new DashboardViewController; // lives for the whole run
    }();
    // Fresh click state per input, so that a finding reproduces from its input alone.
    dashboard->setMouseSimulator(std::make_unique<MouseSimulate>(poster, clock));
    poster.clear();

    const QByteArray input
        = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    qsizetype start = 0;
    for (int i = 0; i < kMaxDatagrams && start <= input.size(); ++i) {
        qsizetype end = input.indexOf("\n\n", start);
        if (end < 0 || i + 1 == kMaxDatagrams)
            end = input.size();
        // A copy, as a datagram read from the socket would be: nothing may read past its end.
        const QByteArray datagram(input.constData() + start, end - start);
        dashboard->udpSocketDidReceiveData(nullptr, datagram, QHostAddress(), 0);
        clock.advanceMilliseconds(kStepMs);
        start = end + 2;
    }
    return 0;
}
