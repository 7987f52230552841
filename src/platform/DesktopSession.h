#pragma once

#include <QObject>
#include <QString>

#include <functional>

// Which desktop the application runs on, for choosing how touches are posted. Decided from
// the session itself (XDG_SESSION_TYPE, WAYLAND_DISPLAY, DISPLAY) and from what answers on the
// session bus, never from Qt's platform name: an application running through Xwayland reports
// xcb, but XTest there reaches X11 windows only.
namespace DesktopSession {

enum class Backend {
    XTest, // an X11 session
    MutterRemoteDesktop, // GNOME: org.gnome.Mutter.RemoteDesktop is on the session bus
    RemoteDesktopPortal, // another Wayland desktop whose portal offers RemoteDesktop
    WlrVirtualPointer, // a wlroots compositor: it offers zwlr_virtual_pointer_manager_v1
    None, // touches cannot be posted; reason says why
};

struct Environment
{
    QString sessionType; // XDG_SESSION_TYPE
    QString waylandDisplay; // WAYLAND_DISPLAY
    QString x11Display; // DISPLAY
    static Environment current();
};

enum class Kind { X11, Wayland, Unknown };

// The session's kind from its environment alone: an explicit XDG_SESSION_TYPE of "wayland" or
// "x11" decides; otherwise WAYLAND_DISPLAY means Wayland and DISPLAY means X11.
Kind kindOf(const Environment& environment);

struct Choice
{
    Backend backend = Backend::None;
    QString reason; // for None
};

// Decides the backend without blocking: on Wayland it asks the session bus whether mutter's
// remote desktop service is there, else whether the portal offers RemoteDesktop (which may
// start the portal), else the compositor whether it offers the wlroots virtual pointer.
// done runs on context's thread, once.
void choose(const Environment& environment, QObject* context, std::function<void(Choice)> done);

// The backend's name for the log line.
QString nameOf(Backend backend);

} // namespace DesktopSession
