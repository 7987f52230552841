#include "RawEventObserver.h"

#include <QDeadlineTimer>

#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

#include <poll.h>

RawEventObserver::RawEventObserver()
{
    m_display = XOpenDisplay(nullptr);
    if (!m_display)
        return;
    int event = 0, error = 0;
    if (!XQueryExtension(m_display, "XInputExtension", &m_opcode, &event, &error))
        return;
    int major = 2, minor = 2;
    if (XIQueryVersion(m_display, &major, &minor) != Success)
        return;
    unsigned char mask[XIMaskLen(XI_LASTEVENT)] = {};
    XISetMask(mask, XI_RawButtonPress);
    XISetMask(mask, XI_RawButtonRelease);
    XISetMask(mask, XI_RawMotion);
    XISetMask(mask, XI_RawKeyPress);
    XISetMask(mask, XI_RawKeyRelease);
    XIEventMask eventMask {XIAllMasterDevices, sizeof mask, mask};
    XISelectEvents(m_display, DefaultRootWindow(m_display), &eventMask, 1);
    XSync(m_display, False);
    m_valid = true;
}

RawEventObserver::~RawEventObserver()
{
    if (m_display)
        XCloseDisplay(m_display);
}

bool RawEventObserver::readOne(Event& out, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        while (XPending(m_display) > 0) {
            XEvent event;
            XNextEvent(m_display, &event);
            XGenericEventCookie* cookie = &event.xcookie;
            if (cookie->type != GenericEvent || cookie->extension != m_opcode
                || !XGetEventData(m_display, cookie))
                continue;
            const auto* raw = static_cast<const XIRawEvent*>(cookie->data);
            bool known = true;
            switch (cookie->evtype) {
            case XI_RawMotion:
                out = {Type::Motion, 0};
                break;
            case XI_RawButtonPress:
                out = {Type::Press, raw->detail};
                break;
            case XI_RawButtonRelease:
                out = {Type::Release, raw->detail};
                break;
            case XI_RawKeyPress:
                out = {Type::KeyDown, raw->detail};
                break;
            case XI_RawKeyRelease:
                out = {Type::KeyUp, raw->detail};
                break;
            default:
                known = false;
            }
            XFreeEventData(m_display, cookie);
            if (known)
                return true;
        }
        const qint64 left = deadline.remainingTime();
        if (left <= 0)
            return false;
        pollfd fd {ConnectionNumber(m_display), POLLIN, 0};
        ::poll(&fd, 1, int(left));
    }
}

QList<RawEventObserver::Event> RawEventObserver::readUntil(Type type, int count, int timeoutMs)
{
    QList<Event> events;
    QDeadlineTimer deadline(timeoutMs);
    int seen = 0;
    Event event {};
    while (seen < count && readOne(event, int(qMax<qint64>(0, deadline.remainingTime())))) {
        events.append(event);
        if (event.type == type)
            ++seen;
    }
    return events;
}

QList<RawEventObserver::Event> RawEventObserver::readFor(int timeoutMs)
{
    QList<Event> events;
    QDeadlineTimer deadline(timeoutMs);
    Event event {};
    while (readOne(event, int(qMax<qint64>(0, deadline.remainingTime()))))
        events.append(event);
    return events;
}

QPoint RawEventObserver::pointer()
{
    XSync(m_display, False);
    Window root = 0, child = 0;
    int rootX = 0, rootY = 0, winX = 0, winY = 0;
    unsigned int mask = 0;
    XQueryPointer(m_display, DefaultRootWindow(m_display), &root, &child, &rootX, &rootY, &winX,
        &winY, &mask);
    return QPoint(rootX, rootY);
}

int RawEventObserver::keyCode(unsigned long keySym)
{
    return XKeysymToKeycode(m_display, keySym);
}

const char* typeName(RawEventObserver::Type type)
{
    switch (type) {
    case RawEventObserver::Type::Motion:
        return "motion";
    case RawEventObserver::Type::Press:
        return "press";
    case RawEventObserver::Type::Release:
        return "release";
    case RawEventObserver::Type::KeyDown:
        return "key-press";
    case RawEventObserver::Type::KeyUp:
        return "key-release";
    }
    return "?";
}
