// Sends "MOVE" touch datagrams to a UDP port and times each one from just before sendto() to
// the XI_RawMotion event that it causes on the X server's root window. Every datagram aims at
// its own pixel, so events are matched to datagrams by their coordinates.
//   touch-path-probe --port P [--host A] [--rate PER_SECOND] [--seconds S]   open loop
//   touch-path-probe --port P [--host A] --closed N                          one at a time
//   --area X0,Y0,X1,Y1 keeps the target pixels inside that rectangle (default: the screen less a
//   100-pixel margin), e.g. away from the application's own window, which would repaint on hover.
// Prints "sent=N matched=N lost=N p50_us=N p99_us=N max_us=N".
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

struct Options
{
    std::string host = "127.0.0.1";
    int port = 41863;
    int rate = 1000;
    int seconds = 10;
    int closed = 0; // > 0: send this many, each after the previous one was seen
    int area[4] = {-1, -1, -1, -1};
};

struct Target
{
    int px = 0;
    int py = 0;
    std::string payload;
    std::atomic<long long> sentNs {0};
    long long seenNs = 0;
};

long long nowNs()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

Options parse(int argc, char** argv)
{
    Options o;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string key = argv[i];
        const char* value = argv[i + 1];
        if (key == "--host")
            o.host = value;
        else if (key == "--port")
            o.port = std::atoi(value);
        else if (key == "--rate")
            o.rate = std::atoi(value);
        else if (key == "--seconds")
            o.seconds = std::atoi(value);
        else if (key == "--closed")
            o.closed = std::atoi(value);
        else if (key == "--area")
            std::sscanf(value, "%d,%d,%d,%d", &o.area[0], &o.area[1], &o.area[2], &o.area[3]);
    }
    return o;
}

// Datagram i aims at a pixel of its own inside the area; the touch value is the smallest one
// that lands on it, so truncating and rounding receivers both hit the pixel.
std::vector<Target> makeTargets(int count, int width, int height, const int (&area)[4])
{
    const int x0 = area[0] >= 0 ? area[0] : 100;
    const int y0 = area[1] >= 0 ? area[1] : 100;
    const int x1 = area[2] >= 0 ? area[2] : width - 100;
    const int y1 = area[3] >= 0 ? area[3] : height - 100;
    const int columns = std::max(1, x1 - x0);
    const int rows = std::max(1, y1 - y0);
    std::vector<Target> targets(count);
    for (int i = 0; i < count; ++i) {
        Target& t = targets[i];
        t.px = x0 + i % columns;
        t.py = y0 + (i / columns) * 7 % rows;
        const long tx = std::lround(std::ceil(t.px * 32767.0 / width));
        const long ty = std::lround(std::ceil(t.py * 32767.0 / height));
        t.payload
            = "MOVE," + std::to_string(tx) + "," + std::to_string(ty) + "," + std::to_string(i);
    }
    return targets;
}

bool selectRawMotion(Display* display, int* opcode)
{
    int event = 0;
    int error = 0;
    int major = 2;
    int minor = 2; // 2.1 and later: raw events arrive even while a client holds a grab
    if (!XQueryExtension(display, "XInputExtension", opcode, &event, &error)
        || XIQueryVersion(display, &major, &minor) != Success)
        return false;
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, XI_RawMotion);
    XIEventMask mask {XIAllMasterDevices, sizeof(bits), bits};
    XISelectEvents(display, DefaultRootWindow(display), &mask, 1);
    XSync(display, False);
    return true;
}

class Observer
{
public:
    Observer(Display* display, int opcode, std::vector<Target>& targets)
        : m_display(display)
        , m_opcode(opcode)
        , m_targets(targets)
    {
        for (size_t i = 0; i < targets.size(); ++i)
            m_index[key(targets[i].px, targets[i].py)] = i;
    }

    // Reads events until the deadline; returns the number of datagrams matched so far.
    size_t pump(long long deadlineNs)
    {
        const int fd = ConnectionNumber(m_display);
        while (nowNs() < deadlineNs) {
            if (!XPending(m_display)) {
                pollfd p {fd, POLLIN, 0};
                poll(&p, 1, 1);
                continue;
            }
            XEvent event;
            XNextEvent(m_display, &event);
            handle(event);
            if (m_stopAt && m_matched >= m_stopAt)
                break;
        }
        return m_matched;
    }
    void stopAt(size_t matched) { m_stopAt = matched; }

private:
    static long long key(int x, int y) { return static_cast<long long>(x) << 32 | unsigned(y); }

    void handle(XEvent& event)
    {
        XGenericEventCookie* cookie = &event.xcookie;
        if (cookie->type != GenericEvent || cookie->extension != m_opcode
            || !XGetEventData(m_display, cookie))
            return;
        const long long seen = nowNs();
        const auto* raw = static_cast<XIRawEvent*>(cookie->data);
        if (raw->valuators.mask_len > 0 && XIMaskIsSet(raw->valuators.mask, 0)
            && XIMaskIsSet(raw->valuators.mask, 1)) {
            const int x = static_cast<int>(raw->valuators.values[0]);
            const int y = static_cast<int>(raw->valuators.values[1]);
            const auto it = m_index.find(key(x, y));
            if (it != m_index.end() && m_targets[it->second].seenNs == 0
                && m_targets[it->second].sentNs.load() != 0) {
                m_targets[it->second].seenNs = seen;
                ++m_matched;
            }
        }
        XFreeEventData(m_display, cookie);
    }

    Display* m_display;
    int m_opcode;
    std::vector<Target>& m_targets;
    std::unordered_map<long long, size_t> m_index;
    size_t m_matched = 0;
    size_t m_stopAt = 0;
};

void sendOne(int fd, const sockaddr_in& to, Target& t)
{
    t.sentNs.store(nowNs());
    sendto(fd, t.payload.data(), t.payload.size(), 0, reinterpret_cast<const sockaddr*>(&to),
        sizeof to);
}

void sendPaced(int fd, const sockaddr_in& to, std::vector<Target>& targets, int rate)
{
    const long long start = nowNs() + 20000000LL;
    for (size_t i = 0; i < targets.size(); ++i) {
        const long long due = start + static_cast<long long>(i) * 1000000000LL / rate;
        timespec ts {
            static_cast<time_t>(due / 1000000000LL), static_cast<long>(due % 1000000000LL)};
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &ts, nullptr);
        sendOne(fd, to, targets[i]);
    }
}

void printSummary(const std::vector<Target>& targets)
{
    std::vector<long long> micros;
    for (const Target& t : targets)
        if (t.seenNs)
            micros.push_back((t.seenNs - t.sentNs.load()) / 1000);
    std::sort(micros.begin(), micros.end());
    auto pick = [&](double q) {
        return micros.empty() ? -1 : micros[std::min(micros.size() - 1, size_t(q * micros.size()))];
    };
    std::printf("sent=%zu matched=%zu lost=%zu p50_us=%lld p99_us=%lld max_us=%lld\n",
        targets.size(), micros.size(), targets.size() - micros.size(), pick(0.50), pick(0.99),
        micros.empty() ? -1 : micros.back());
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    Display* display = XOpenDisplay(nullptr);
    int opcode = 0;
    if (!display || !selectRawMotion(display, &opcode)) {
        std::fprintf(stderr, "touch-path-probe: no X display with XInput 2\n");
        return 1;
    }
    const int screen = DefaultScreen(display);
    const int count = options.closed > 0 ? options.closed : options.rate * options.seconds;
    std::vector<Target> targets = makeTargets(
        count, DisplayWidth(display, screen), DisplayHeight(display, screen), options.area);
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to {};
    to.sin_family = AF_INET;
    to.sin_port = htons(static_cast<uint16_t>(options.port));
    to.sin_addr.s_addr = inet_addr(options.host.c_str());
    Observer observer(display, opcode, targets);
    if (options.closed > 0) {
        for (size_t i = 0; i < targets.size(); ++i) {
            sendOne(fd, to, targets[i]);
            observer.stopAt(i + 1);
            if (observer.pump(nowNs() + 10000000000LL) < i + 1)
                break; // the receiver is gone; what is left counts as lost
        }
    } else {
        std::thread sender([&] { sendPaced(fd, to, targets, options.rate); });
        observer.stopAt(targets.size());
        observer.pump(nowNs() + options.seconds * 1000000000LL + 2000000000LL);
        sender.join();
        observer.stopAt(0);
        observer.pump(nowNs() + 200000000LL);
    }
    printSummary(targets);
    close(fd);
    return 0;
}
