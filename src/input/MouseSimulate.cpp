#include "MouseSimulate.h"

#include "CoordinateParser.h"
#include "InputClock.h"
#include "platform/FatalError.h"
#include "platform/StdoutLine.h"

#include <QLatin1StringView>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace {
const char* kindName(MouseEventKind kind)
{
    switch (kind) {
    case MouseEventKind::LeftDown:
        return "left-mouse-down";
    case MouseEventKind::LeftUp:
        return "left-mouse-up";
    case MouseEventKind::LeftDragged:
        return "left-mouse-dragged";
    }
    return "mouse";
}

[[noreturn]] void creationFailed(MouseEventKind kind)
{
    fatalError(QStringLiteral("could not create a %1 event to post")
                   .arg(QLatin1StringView(kindName(kind))));
}

MouseEvent require(const std::optional<MouseEvent>& event, MouseEventKind kind)
{
    if (!event)
        creationFailed(kind);
    return *event;
}
} // namespace

MouseSimulate::MouseSimulate(QObject* parent)
    : QObject(parent)
    , m_clock(InputClock::system())
{ }

MouseSimulate::MouseSimulate(MouseEventPoster& poster, InputClock& clock, QObject* parent)
    : QObject(parent)
    , m_poster(&poster)
    , m_clock(clock)
{ }

MouseSimulate::~MouseSimulate() = default;

MouseEventPoster& MouseSimulate::poster() const
{
    // Resolved per call so that a poster installed later (by the application or a test) is used.
    return m_poster ? *m_poster : *MouseEventPoster::defaultPoster();
}

void MouseSimulate::prepare()
{
    poster().prepare();
}

void MouseSimulate::finish()
{
    poster().finish();
}

void MouseSimulate::initiateMouseEvent(
    QStringView event, QStringView x, QStringView y, QStringView timeStamp)
{
    initiateMouseEvent(event, x, y, timeStamp.toLongLong());
}

void MouseSimulate::initiateMouseEvent(
    QStringView event, QStringView x, QStringView y, qint64 timeStamp)
{
    const std::optional<double> touchX = CoordinateParser::parse(x);
    if (!touchX)
        return;
    const std::optional<double> touchY = CoordinateParser::parse(y);
    if (!touchY)
        return;
    const std::optional<QSizeF> screen = poster().mainScreenSize();
    if (!screen)
        fatalError(QStringLiteral("there is no main screen to map the touch onto"));
    // No rounding, clamping or origin offset: the touch space maps linearly onto the screen.
    const QPointF point((*touchX / kTouchSpaceMaximum) * screen->width(),
        screen->height() * (*touchY / kTouchSpaceMaximum));

    if (event == QLatin1StringView("UP"))
        mouseUp(point, timeStamp);
    else if (event == QLatin1StringView("DOWN"))
        mouseDown(point);
    else if (event == QLatin1StringView("MOVE"))
        mouseDrag(point);
}

qint64 MouseSimulate::now() const
{
    const double ms = std::round(m_clock.secondsSinceEpoch() * 1000.0);
    // 2^63 is exactly representable; anything at or above it (or below -2^63) does not fit.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(ms) || ms >= limit || ms < -limit)
        fatalError(QStringLiteral("the clock value %1 ms does not fit a 64-bit millisecond count")
                       .arg(ms));
    return static_cast<qint64>(ms);
}

MouseEvent MouseSimulate::createOrDie(MouseEventKind kind, QPointF point) const
{
    return require(poster().createMouseEvent(kind, point), kind);
}

void MouseSimulate::mouseDown(QPointF point)
{
    poster().postMouseEvent(createOrDie(MouseEventKind::LeftDown, point));
    StdoutLine::print("::: Mouse Down");
    m_mouseDownTime = now();
    m_mouseDownPoint = point;
}

void MouseSimulate::mouseDrag(QPointF point)
{
    poster().postMouseEvent(createOrDie(MouseEventKind::LeftDragged, point));
}

void MouseSimulate::mouseUp(QPointF point, qint64 /*timeStamp*/)
{
    // Created first; whether it is posted depends on the click decision below.
    const std::optional<MouseEvent> up = poster().createMouseEvent(MouseEventKind::LeftUp, point);
    if (m_singleClickCount == 0) {
        m_mouseUpTime = now();
        m_singleClickCount = 1;
        m_mouseUpPoint = point;
        poster().postMouseEvent(require(up, MouseEventKind::LeftUp));
        StdoutLine::print("::: Mouse Up");
        return;
    }
    if (m_singleClickCount != 1)
        return;
    m_singleClickCount = 0;
    closeClickSequence(up, point);
}

void MouseSimulate::closeClickSequence(const std::optional<MouseEvent>& up, QPointF point)
{
    qint64 elapsed = 0;
    if (__builtin_sub_overflow(now(), m_mouseUpTime, &elapsed))
        fatalError(QStringLiteral("the time since the last release overflows"));
    if (elapsed > kDoubleClickTimeLimitMs) {
        poster().postMouseEvent(require(up, MouseEventKind::LeftUp));
        StdoutLine::print("::: Mouse Up 1");
        m_mouseUpPoint = point;
        return;
    }
    const float dx = static_cast<float>(m_mouseUpPoint.x() - point.x());
    const float dy = static_cast<float>(m_mouseUpPoint.y() - point.y());
    const float distance = std::hypotf(dx, dy);
    StdoutLine::print(QLatin1StringView("::: Double Click distance ") + formatDistance(distance));
    // A release too far away is dropped on purpose (also when the distance is not a number).
    if (distance <= kDoubleClickDistance) {
        doubleClick(point);
        StdoutLine::print("::: Double Click");
    }
}

void MouseSimulate::doubleClick(QPointF point)
{
    const auto post = [&](MouseEventKind kind, int clickState) {
        MouseEvent event = createOrDie(kind, point);
        event.clickState = clickState;
        poster().postMouseEvent(event);
    };
    post(MouseEventKind::LeftDown, 1);
    post(MouseEventKind::LeftUp, 1);
    m_clock.sleepMicroseconds(kDoubleClickGapUSec);
    post(MouseEventKind::LeftDown, 2);
    post(MouseEventKind::LeftUp, 2);
}

void MouseSimulate::leftClick(QPointF point)
{
    const MouseEvent down = createOrDie(MouseEventKind::LeftDown, point);
    const MouseEvent up = createOrDie(MouseEventKind::LeftUp, point);
    poster().postMouseEvent(down);
    m_clock.sleepMicroseconds(kLeftClickGapUSec);
    poster().postMouseEvent(up);
}

void MouseSimulate::rightClick(QPointF point)
{
    // A key event that cannot be created is skipped; the click goes on without it.
    if (std::optional<KeyEvent> keyDown = poster().createKeyEvent(kRightClickKeyCode, true)) {
        keyDown->flags = KeyFlags::Control;
        poster().postKeyEvent(*keyDown);
    }
    m_clock.sleepMicroseconds(kRightClickGapUSec);
    const MouseEvent down = createOrDie(MouseEventKind::LeftDown, point);
    const MouseEvent up = createOrDie(MouseEventKind::LeftUp, point);
    poster().postMouseEvent(down);
    poster().postMouseEvent(up);
    if (std::optional<KeyEvent> keyUp = poster().createKeyEvent(kRightClickKeyCode, false))
        poster().postKeyEvent(*keyUp);
}

QString MouseSimulate::formatDistance(float distance)
{
    // The shortest digits that read back as the same float. Plain decimal with ".0" on whole
    // numbers from 1e-4 up to 2^24; exponent form outside that range.
    char buffer[64];
    const bool exponent = std::isfinite(distance) && distance != 0.0f
        && (std::fabs(distance) < 1e-4f || std::fabs(distance) > 16777216.0f);
    const auto format = exponent ? std::chars_format::scientific : std::chars_format::fixed;
    const char* end = std::to_chars(buffer, buffer + sizeof buffer, distance, format).ptr;
    QString text = QString::fromLatin1(buffer, end - buffer);
    const bool hasMark = std::any_of(static_cast<const char*>(buffer), end,
        [](char c) { return c == '.' || c == 'e' || c == 'n'; });
    if (!hasMark)
        text += QLatin1StringView(".0");
    return text;
}
