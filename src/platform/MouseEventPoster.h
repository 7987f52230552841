#pragma once

#include <QPointF>
#include <QSizeF>

#include <cstdint>
#include <optional>

// Kinds of mouse events, numbered as the system's event types are.
enum class MouseEventKind : int { LeftDown = 1, LeftUp = 2, LeftDragged = 6 };

// A mouse event made ready for posting: left button, at a point in the main screen's logical
// coordinates (points), with the click state the system keeps for multi-click sequences.
struct MouseEvent
{
    MouseEventKind kind = MouseEventKind::LeftDown;
    QPointF point;
    int clickState = 0;
};

// A key event made ready for posting: a virtual key code and the modifier flags it carries.
struct KeyEvent
{
    std::uint16_t keyCode = 0;
    bool down = true;
    std::uint64_t flags = 0;
};

namespace KeyFlags {
constexpr std::uint64_t Control = 0x40000;
}

// Where synthetic mouse and key events go. Creating an event can fail (an empty optional), so
// callers decide whether a failed creation matters; posting a created event cannot fail.
class MouseEventPoster
{
public:
    virtual ~MouseEventPoster();

    // Called when touchback turns on: a backend that needs a desktop session or the user's
    // permission asks for it here (never at start-up), without waiting for the answer. Cheap
    // once prepared, so every touchback start may call it. Does nothing by default.
    virtual void prepare();
    // Called when touchback closes its touch socket: no touch can arrive until the next
    // prepare(), so a backend ends the desktop session it holds (GNOME shows that the screen is
    // shared for as long as one lives). Does nothing by default.
    virtual void finish();

    virtual std::optional<MouseEvent> createMouseEvent(MouseEventKind kind, QPointF point);
    virtual std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down);
    virtual void postMouseEvent(const MouseEvent& event) = 0;
    virtual void postKeyEvent(const KeyEvent& event) = 0;

    // The size of the main screen in logical points; empty when there is no main screen.
    // Touches are mapped onto this size, and every backend posts them on that same screen
    // (MainScreen::current()), so the default serves them all.
    virtual std::optional<QSizeF> mainScreenSize();

    // The process-wide poster used by objects that were not given one. The application
    // installs its backend at start-up; tests of other areas install a recording poster.
    // Not owned; nullptr restores the built-in fallback.
    static MouseEventPoster* defaultPoster();
    static void setDefault(MouseEventPoster* poster);
};
