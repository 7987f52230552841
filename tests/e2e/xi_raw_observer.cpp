// Watches the X server for pointer input with XInput2 raw events on the root window and prints
// one JSON line per event on standard output:
//   {"type":"motion|press|release","button":N,"x":X,"y":Y,"time":SERVER_MS,"mono_us":US}
// x and y are the event's absolute valuators when it carries them (XTest motion does), else the
// pointer position read right after it; raw events arrive even while an application window is
// under the pointer. The first line is
// {"type":"ready"} once the selection is in place. Runs until the display closes or SIGTERM.
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

#include <cstdio>
#include <ctime>

namespace {

long long monotonicMicros()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<long long>(ts.tv_sec) * 1000000LL + ts.tv_nsec / 1000;
}

bool selectRawEvents(Display* display, int* opcode)
{
    int event = 0;
    int error = 0;
    if (!XQueryExtension(display, "XInputExtension", opcode, &event, &error))
        return false;
    int major = 2;
    int minor = 2; // 2.1 and later: raw events arrive even while a client holds a grab
    if (XIQueryVersion(display, &major, &minor) != Success)
        return false;
    unsigned char bits[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(bits, XI_RawMotion);
    XISetMask(bits, XI_RawButtonPress);
    XISetMask(bits, XI_RawButtonRelease);
    XIEventMask mask {XIAllMasterDevices, sizeof(bits), bits};
    XISelectEvents(display, DefaultRootWindow(display), &mask, 1);
    XSync(display, False);
    return true;
}

const char* typeName(int evtype)
{
    switch (evtype) {
    case XI_RawMotion:
        return "motion";
    case XI_RawButtonPress:
        return "press";
    case XI_RawButtonRelease:
        return "release";
    default:
        return "other";
    }
}

void print(const XIRawEvent& raw, int button, int x, int y, long long seen)
{
    std::printf("{\"type\":\"%s\",\"button\":%d,\"x\":%d,\"y\":%d,\"time\":%lu,"
                "\"mono_us\":%lld}\n",
        typeName(raw.evtype), button, x, y, raw.time, seen);
    std::fflush(stdout);
}

// The absolute position carried by the event (valuators 0 and 1), if both are present.
bool valuatorPosition(const XIRawEvent& raw, int* x, int* y)
{
    const double* value = raw.valuators.values;
    bool hasX = false;
    bool hasY = false;
    for (int i = 0; i < raw.valuators.mask_len * 8 && i < 2; ++i) {
        if (!XIMaskIsSet(raw.valuators.mask, i))
            continue;
        (i == 0 ? *x : *y) = static_cast<int>(*value++);
        (i == 0 ? hasX : hasY) = true;
    }
    return hasX && hasY;
}

void report(Display* display, const XIRawEvent& raw)
{
    const long long seen = monotonicMicros();
    const int button = raw.evtype == XI_RawMotion ? 0 : raw.detail;
    int x = 0;
    int y = 0;
    if (valuatorPosition(raw, &x, &y)) {
        print(raw, button, x, y, seen);
        return;
    }
    Window root = 0;
    Window child = 0;
    int rootX = 0;
    int rootY = 0;
    int winX = 0;
    int winY = 0;
    unsigned int buttons = 0;
    XQueryPointer(
        display, DefaultRootWindow(display), &root, &child, &rootX, &rootY, &winX, &winY, &buttons);
    print(raw, button, rootX, rootY, seen);
}

} // namespace

int main()
{
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fprintf(stderr, "xi-raw-observer: cannot open display\n");
        return 1;
    }
    int opcode = 0;
    if (!selectRawEvents(display, &opcode)) {
        std::fprintf(stderr, "xi-raw-observer: XInput 2 is not available\n");
        return 1;
    }
    std::printf("{\"type\":\"ready\"}\n");
    std::fflush(stdout);
    for (;;) {
        XEvent event;
        XNextEvent(display, &event);
        XGenericEventCookie* cookie = &event.xcookie;
        if (cookie->type != GenericEvent || cookie->extension != opcode
            || !XGetEventData(display, cookie))
            continue;
        report(display, *static_cast<XIRawEvent*>(cookie->data));
        XFreeEventData(display, cookie);
    }
}
