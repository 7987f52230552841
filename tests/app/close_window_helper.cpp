// Asks the application window with a given title to close, as a window manager's close button
// does: a WM_DELETE_WINDOW client message. Usage: close_window_helper TITLE [TIMEOUT_MS]
// Exits 0 once the message is sent, 1 when no such window appeared in time.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {
bool hasTitle(Display* display, Window window, const char* title)
{
    XTextProperty property;
    if (!XGetWMName(display, window, &property) || !property.value)
        return false;
    const bool same = std::strcmp(reinterpret_cast<const char*>(property.value), title) == 0;
    XFree(property.value);
    return same;
}

Window findWindow(Display* display, const char* title)
{
    Window root = DefaultRootWindow(display);
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    Window found = 0;
    if (!XQueryTree(display, root, &root, &parent, &children, &count))
        return 0;
    for (unsigned i = 0; i < count && !found; ++i) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, children[i], &attributes)
            && attributes.map_state == IsViewable && hasTitle(display, children[i], title))
            found = children[i];
    }
    if (children)
        XFree(children);
    return found;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fputs("usage: close_window_helper TITLE [TIMEOUT_MS]\n", stderr);
        return 2;
    }
    const int timeoutMs = argc > 2 ? std::atoi(argv[2]) : 5000;
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        std::fputs("close_window_helper: cannot open the display\n", stderr);
        return 2;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    Window window = 0;
    while (!(window = findWindow(display, argv[1]))) {
        if (std::chrono::steady_clock::now() > deadline) {
            std::fprintf(stderr, "close_window_helper: no window titled \"%s\"\n", argv[1]);
            XCloseDisplay(display);
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
    XFlush(display);
    XCloseDisplay(display);
    std::puts("closed");
    return 0;
}
