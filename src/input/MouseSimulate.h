#pragma once

#include "platform/MouseEventPoster.h"

#include <QObject>
#include <QPointF>
#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

class InputClock;

// Turns touch reports from the receiver (event name, x, y, timestamp; x and y in 0..32767)
// into left-button mouse events on the main screen, folding two quick releases close together
// into a double click. One long-lived object keeps the click state across reports.
// Not thread-safe: reports must come one at a time.
class MouseSimulate : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quint32 kDelayUSec READ kDelayUSec CONSTANT)
    Q_PROPERTY(QPointF mouseDownPoint READ mouseDownPoint WRITE setMouseDownPoint)
    Q_PROPERTY(QPointF mouseUpPoint READ mouseUpPoint WRITE setMouseUpPoint)
    Q_PROPERTY(qint64 mouseDownTime READ mouseDownTime WRITE setMouseDownTime)
    Q_PROPERTY(qint64 mouseUpTime READ mouseUpTime WRITE setMouseUpTime)
    Q_PROPERTY(qint64 singleClickCount READ singleClickCount WRITE setSingleClickCount)
    Q_PROPERTY(qint64 rightClickCount READ rightClickCount WRITE setRightClickCount)

public:
    static constexpr double kTouchSpaceMaximum = 32767.0;
    static constexpr qint64 kDoubleClickTimeLimitMs = 800;
    static constexpr float kDoubleClickDistance = 50.0f;
    static constexpr std::uint32_t kDoubleClickGapUSec = 1000;
    static constexpr std::uint32_t kLeftClickGapUSec = 100000;
    static constexpr std::uint32_t kRightClickGapUSec = 50000;
    static constexpr std::uint16_t kRightClickKeyCode = 56;

    // Posts through the process-wide default poster and reads the system clock.
    explicit MouseSimulate(QObject* parent = nullptr);
    // Posts through the given poster and reads the given clock; neither is owned.
    MouseSimulate(MouseEventPoster& poster, InputClock& clock, QObject* parent = nullptr);
    ~MouseSimulate() override;

    // Touchback turns on: the poster gets ready (a desktop session, the user's permission)
    // without waiting for it.
    void prepare();
    // Touchback closed its touch socket: the poster may end its desktop session.
    void finish();

    // One touch report. The timestamp is handed on to mouseUp and not used for decisions.
    void initiateMouseEvent(QStringView event, QStringView x, QStringView y, qint64 timeStamp);
    // The session hands over the timestamp field as it arrived; it is read as an integer
    // (0 when it is not one).
    void initiateMouseEvent(QStringView event, QStringView x, QStringView y, QStringView timeStamp);

    void mouseDown(QPointF point);
    void mouseUp(QPointF point, qint64 timeStamp);
    void mouseDrag(QPointF point);
    void leftClick(QPointF point);
    void rightClick(QPointF point);
    void doubleClick(QPointF point);

    quint32 kDelayUSec() const { return m_kDelayUSec; }
    QPointF mouseDownPoint() const { return m_mouseDownPoint; }
    void setMouseDownPoint(QPointF point) { m_mouseDownPoint = point; }
    QPointF mouseUpPoint() const { return m_mouseUpPoint; }
    void setMouseUpPoint(QPointF point) { m_mouseUpPoint = point; }
    qint64 mouseDownTime() const { return m_mouseDownTime; }
    void setMouseDownTime(qint64 ms) { m_mouseDownTime = ms; }
    qint64 mouseUpTime() const { return m_mouseUpTime; }
    void setMouseUpTime(qint64 ms) { m_mouseUpTime = ms; }
    qint64 singleClickCount() const { return m_singleClickCount; }
    void setSingleClickCount(qint64 count) { m_singleClickCount = count; }
    qint64 rightClickCount() const { return m_rightClickCount; }
    void setRightClickCount(qint64 count) { m_rightClickCount = count; }

    // "::: Double Click distance " followed by this: the shortest decimal that reads back as
    // the same float, with ".0" added to whole numbers.
    static QString formatDistance(float distance);

private:
    MouseEventPoster& poster() const;
    qint64 now() const;
    MouseEvent createOrDie(MouseEventKind kind, QPointF point) const;
    void postKey(std::uint16_t keyCode, bool down, std::uint64_t flags);
    void closeClickSequence(const std::optional<MouseEvent>& up, QPointF point);

    MouseEventPoster* m_poster = nullptr;
    InputClock& m_clock;

    const quint32 m_kDelayUSec = 500000;
    QPointF m_mouseDownPoint;
    QPointF m_mouseUpPoint;
    qint64 m_mouseDownTime = 0;
    qint64 m_mouseUpTime = 0;
    qint64 m_singleClickCount = 0;
    qint64 m_rightClickCount = 0;
};
