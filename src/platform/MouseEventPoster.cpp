#include "MouseEventPoster.h"

#include "MainScreen.h"
#include "platform/Logging.h"

#include <QScreen>

namespace {
// Used until a backend is installed: it knows the main screen but has nowhere to send events,
// so it says so once and drops them.
class UnavailableEventPoster final : public MouseEventPoster
{
public:
    void postMouseEvent(const MouseEvent&) override { warnOnce(); }
    void postKeyEvent(const KeyEvent&) override { warnOnce(); }

private:
    void warnOnce()
    {
        if (m_warned)
            return;
        m_warned = true;
        qCWarning(lcInput) << "No event backend installed: touch events cannot be posted";
    }

    bool m_warned = false;
};

MouseEventPoster*& installedPoster()
{
    static MouseEventPoster* poster = nullptr;
    return poster;
}
} // namespace

MouseEventPoster::~MouseEventPoster() = default;

void MouseEventPoster::prepare()
{ }

void MouseEventPoster::finish()
{ }

std::optional<MouseEvent> MouseEventPoster::createMouseEvent(MouseEventKind kind, QPointF point)
{
    return MouseEvent {kind, point, 0};
}

std::optional<KeyEvent> MouseEventPoster::createKeyEvent(std::uint16_t keyCode, bool down)
{
    return KeyEvent {keyCode, down, 0};
}

std::optional<QSizeF> MouseEventPoster::mainScreenSize()
{
    if (QScreen* screen = MainScreen::current())
        return QSizeF(screen->geometry().size());
    return std::nullopt;
}

MouseEventPoster* MouseEventPoster::defaultPoster()
{
    if (MouseEventPoster* poster = installedPoster())
        return poster;
    static UnavailableEventPoster fallback;
    return &fallback;
}

void MouseEventPoster::setDefault(MouseEventPoster* poster)
{
    installedPoster() = poster;
}
