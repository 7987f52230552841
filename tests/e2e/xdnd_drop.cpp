// Drops one file on the window under a screen position the way a file manager does: an XDND
// (version 5) drag source that offers "text/uri-list", moves the pointer there with XTest, and
// runs Enter, Position, Drop, answers the selection request and waits for Finished.
//   xdnd-drop FILE X Y
// Exit status 0 when the target accepted and finished the drop.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <poll.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

struct Atoms
{
    Atom aware, selection, enter, position, status, drop, finished, copy, uriList;
};

Atoms internAtoms(Display* display)
{
    auto atom = [display](const char* name) { return XInternAtom(display, name, False); };
    return {atom("XdndAware"), atom("XdndSelection"), atom("XdndEnter"), atom("XdndPosition"),
        atom("XdndStatus"), atom("XdndDrop"), atom("XdndFinished"), atom("XdndActionCopy"),
        atom("text/uri-list")};
}

bool isAware(Display* display, Window window, Atom aware)
{
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long after = 0;
    unsigned char* data = nullptr;
    const bool found = XGetWindowProperty(display, window, aware, 0, 1, False, AnyPropertyType,
                           &type, &format, &count, &after, &data)
            == Success
        && type != None;
    if (data)
        XFree(data);
    return found;
}

// The topmost XDND-aware window under the root position, descending from the root window.
Window findTarget(Display* display, int x, int y, Atom aware)
{
    Window root = DefaultRootWindow(display);
    Window current = root;
    Window found = None;
    for (int depth = 0; depth < 32 && current != None; ++depth) {
        if (current != root && isAware(display, current, aware))
            found = current;
        int childX = 0;
        int childY = 0;
        Window child = None;
        if (!XTranslateCoordinates(display, root, current, x, y, &childX, &childY, &child))
            break;
        current = child;
    }
    return found;
}

void sendMessage(Display* display, Window target, Atom type, const long (&data)[5])
{
    XEvent event {};
    event.xclient.type = ClientMessage;
    event.xclient.display = display;
    event.xclient.window = target;
    event.xclient.message_type = type;
    event.xclient.format = 32;
    for (int i = 0; i < 5; ++i)
        event.xclient.data.l[i] = data[i];
    XSendEvent(display, target, False, NoEventMask, &event);
    XFlush(display);
}

void answerSelectionRequest(Display* display, const XSelectionRequestEvent& request,
    const std::string& uris, const Atoms& atoms)
{
    XEvent reply {};
    reply.xselection.type = SelectionNotify;
    reply.xselection.display = display;
    reply.xselection.requestor = request.requestor;
    reply.xselection.selection = request.selection;
    reply.xselection.target = request.target;
    reply.xselection.time = request.time;
    reply.xselection.property = None;
    if (request.target == atoms.uriList) {
        XChangeProperty(display, request.requestor, request.property, atoms.uriList, 8,
            PropModeReplace, reinterpret_cast<const unsigned char*>(uris.data()), int(uris.size()));
        reply.xselection.property = request.property;
    }
    XSendEvent(display, request.requestor, False, NoEventMask, &reply);
    XFlush(display);
}

// Waits up to timeoutMs for a client message of the given type (answering selection requests
// meanwhile); returns false on timeout.
bool waitFor(Display* display, Atom type, XEvent* out, const std::string& uris, const Atoms& atoms,
    int timeoutMs)
{
    timespec start {};
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (;;) {
        while (XPending(display)) {
            XNextEvent(display, out);
            if (out->type == SelectionRequest)
                answerSelectionRequest(display, out->xselectionrequest, uris, atoms);
            else if (out->type == ClientMessage && out->xclient.message_type == type)
                return true;
        }
        timespec now {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const long elapsed
            = (now.tv_sec - start.tv_sec) * 1000 + (now.tv_nsec - start.tv_nsec) / 1000000;
        if (elapsed > timeoutMs)
            return false;
        pollfd p {ConnectionNumber(display), POLLIN, 0};
        poll(&p, 1, 20);
    }
}

int fail(const char* what)
{
    std::fprintf(stderr, "xdnd-drop: %s\n", what);
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return fail("usage: xdnd-drop FILE X Y");
    const std::string uris = std::string("file://") + argv[1] + "\r\n";
    const int x = std::atoi(argv[2]);
    const int y = std::atoi(argv[3]);
    Display* display = XOpenDisplay(nullptr);
    if (!display)
        return fail("cannot open display");
    const Atoms atoms = internAtoms(display);
    const Window source
        = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(display, atoms.selection, source, CurrentTime);
    XTestFakeMotionEvent(display, -1, x, y, CurrentTime);
    XSync(display, False);
    const Window target = findTarget(display, x, y, atoms.aware);
    if (target == None)
        return fail("no XDND-aware window at that position");

    const long s = long(source);
    sendMessage(display, target, atoms.enter, {s, 5L << 24, long(atoms.uriList), 0, 0});
    sendMessage(display, target, atoms.position,
        {s, 0, (long(x) << 16) | y, CurrentTime, long(atoms.copy)});
    XEvent event;
    if (!waitFor(display, atoms.status, &event, uris, atoms, 5000))
        return fail("no XdndStatus from the target");
    if (!(event.xclient.data.l[1] & 1))
        return fail("the target refused the drop");
    sendMessage(display, target, atoms.drop, {s, 0, CurrentTime, 0, 0});
    if (!waitFor(display, atoms.finished, &event, uris, atoms, 10000))
        return fail("no XdndFinished from the target");
    XCloseDisplay(display);
    return 0;
}
