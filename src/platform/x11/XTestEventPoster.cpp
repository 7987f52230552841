#include "XTestEventPoster.h"

#include "platform/Logging.h"
#include "platform/MainScreen.h"

#include <QGuiApplication>
#include <QScreen>
#include <QtGui/qguiapplication_platform.h>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <algorithm>
#include <cmath>

namespace {
constexpr unsigned int kLeftButton = 1;

// Virtual key codes as the receiver's host names them, and the X keys that stand for them.
KeySym keySymFor(std::uint16_t keyCode)
{
    switch (keyCode) {
    case 55:
        return XK_Super_L; // Command
    case 56:
        return XK_Shift_L; // Shift
    case 58:
        return XK_Alt_L; // Option
    case 59:
        return XK_Control_L; // Control
    default:
        return NoSymbol;
    }
}

struct FlagKey
{
    std::uint64_t flag;
    KeySym sym;
};
constexpr FlagKey kFlagKeys[]
    = {{0x20000, XK_Shift_L}, {0x40000, XK_Control_L}, {0x80000, XK_Alt_L}, {0x100000, XK_Super_L}};

// X coordinates travel as 16-bit signed numbers; a point far off screen is pinned to that range.
int toPixel(double points, qreal ratio)
{
    const double pixels = std::floor(points * ratio);
    if (std::isnan(pixels))
        return 0;
    return static_cast<int>(std::clamp(pixels, -32768.0, 32767.0));
}
} // namespace

XTestEventPoster::XTestEventPoster() = default;

XTestEventPoster::~XTestEventPoster()
{
    if (m_ownsDisplay && m_display)
        XCloseDisplay(m_display);
}

Display* XTestEventPoster::display()
{
    if (!m_connected) {
        m_connected = true;
        m_display = connect();
    }
    return m_display;
}

Display* XTestEventPoster::connect()
{
    Display* display = nullptr;
    if (auto* x11
        = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr)
        display = x11->display();
    if (!display) {
        display = XOpenDisplay(nullptr);
        m_ownsDisplay = display != nullptr;
    }
    if (!display) {
        qCWarning(lcInput) << "No X display: touch events cannot be posted, touchback is off";
        return nullptr;
    }
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor)) {
        qCWarning(lcInput) << "The X server has no XTEST extension: touch events cannot be posted, "
                              "touchback is off";
        if (m_ownsDisplay)
            XCloseDisplay(display);
        m_ownsDisplay = false;
        return nullptr;
    }
    return display;
}

std::optional<QSizeF> XTestEventPoster::mainScreenSize()
{
    QScreen* screen = MainScreen::current();
    if (!screen)
        return std::nullopt;
    m_pixelRatio = screen->devicePixelRatio();
    return QSizeF(screen->geometry().size());
}

qreal XTestEventPoster::pixelRatio()
{
    // Reports query the screen just before posting; direct posts query it once here.
    if (m_pixelRatio <= 0) {
        QScreen* screen = MainScreen::current();
        m_pixelRatio = screen ? screen->devicePixelRatio() : 1.0;
    }
    return m_pixelRatio;
}

void XTestEventPoster::postMouseEvent(const MouseEvent& event)
{
    Display* dpy = display();
    if (!dpy)
        return;
    // X works out multi-clicks from timing itself; the click state has no X counterpart.
    const qreal ratio = pixelRatio();
    XTestFakeMotionEvent(dpy, DefaultScreen(dpy), toPixel(event.point.x(), ratio),
        toPixel(event.point.y(), ratio), CurrentTime);
    if (event.kind == MouseEventKind::LeftDown)
        XTestFakeButtonEvent(dpy, kLeftButton, True, CurrentTime);
    else if (event.kind == MouseEventKind::LeftUp)
        XTestFakeButtonEvent(dpy, kLeftButton, False, CurrentTime);
    XFlush(dpy);
}

std::optional<KeyEvent> XTestEventPoster::createKeyEvent(std::uint16_t keyCode, bool down)
{
    Display* dpy = display();
    if (dpy && XKeysymToKeycode(dpy, keySymFor(keyCode)) == 0)
        return std::nullopt;
    return MouseEventPoster::createKeyEvent(keyCode, down);
}

void XTestEventPoster::pressModifiers(std::uint64_t flags, bool press)
{
    for (const FlagKey& key : kFlagKeys) {
        if (flags & key.flag) {
            if (const KeyCode code = XKeysymToKeycode(m_display, key.sym))
                XTestFakeKeyEvent(m_display, code, press ? True : False, CurrentTime);
        }
    }
}

void XTestEventPoster::postKeyEvent(const KeyEvent& event)
{
    Display* dpy = display();
    if (!dpy)
        return;
    const KeyCode code = XKeysymToKeycode(dpy, keySymFor(event.keyCode));
    if (code == 0)
        return;
    // The flags hold only for this event: the modifier keys go down around it and up again.
    pressModifiers(event.flags, true);
    XTestFakeKeyEvent(dpy, code, event.down ? True : False, CurrentTime);
    pressModifiers(event.flags, false);
    XFlush(dpy);
}

bool XTestEventPoster::usesApplicationConnection()
{
    return display() && !m_ownsDisplay;
}

XTestEventPoster& installXTestEventPoster()
{
    static XTestEventPoster poster;
    MouseEventPoster::setDefault(&poster);
    return poster;
}
