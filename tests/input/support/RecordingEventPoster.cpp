#include "RecordingEventPoster.h"

bool RecordingEventPoster::Entry::operator==(const Entry& other) const
{
    if (type != other.type)
        return false;
    switch (type) {
    case Type::Mouse:
        return mouse.kind == other.mouse.kind && mouse.point == other.mouse.point
            && mouse.point.x() == other.mouse.point.x() && mouse.point.y() == other.mouse.point.y()
            && mouse.clickState == other.mouse.clickState;
    case Type::Key:
        return key.keyCode == other.key.keyCode && key.down == other.key.down
            && key.flags == other.key.flags;
    case Type::Sleep:
        return sleepMicroseconds == other.sleepMicroseconds;
    }
    return false;
}

std::optional<MouseEvent> RecordingEventPoster::createMouseEvent(MouseEventKind kind, QPointF point)
{
    ++m_mouseCreations;
    if (failingMouseKinds.count(kind))
        return std::nullopt;
    return MouseEventPoster::createMouseEvent(kind, point);
}

std::optional<KeyEvent> RecordingEventPoster::createKeyEvent(std::uint16_t keyCode, bool down)
{
    if (failKeyCreation)
        return std::nullopt;
    return MouseEventPoster::createKeyEvent(keyCode, down);
}

void RecordingEventPoster::postMouseEvent(const MouseEvent& event)
{
    Entry entry;
    entry.type = Entry::Type::Mouse;
    entry.mouse = event;
    m_entries.append(entry);
    if (afterPost)
        afterPost();
}

void RecordingEventPoster::postKeyEvent(const KeyEvent& event)
{
    Entry entry;
    entry.type = Entry::Type::Key;
    entry.key = event;
    m_entries.append(entry);
    if (afterPost)
        afterPost();
}

std::optional<QSizeF> RecordingEventPoster::mainScreenSize()
{
    ++m_screenQueries;
    return screenSize;
}

void RecordingEventPoster::recordSleep(quint32 microseconds)
{
    m_entries.append(sleepEntry(microseconds));
}

QList<MouseEvent> RecordingEventPoster::mouseEvents() const
{
    QList<MouseEvent> events;
    for (const Entry& entry : m_entries) {
        if (entry.type == Entry::Type::Mouse)
            events.append(entry.mouse);
    }
    return events;
}

RecordingEventPoster::Entry mouseEntry(MouseEventKind kind, QPointF point, int clickState)
{
    RecordingEventPoster::Entry entry;
    entry.type = RecordingEventPoster::Entry::Type::Mouse;
    entry.mouse = MouseEvent {kind, point, clickState};
    return entry;
}

RecordingEventPoster::Entry keyEntry(std::uint16_t keyCode, bool down, std::uint64_t flags)
{
    RecordingEventPoster::Entry entry;
    entry.type = RecordingEventPoster::Entry::Type::Key;
    entry.key = KeyEvent {keyCode, down, flags};
    return entry;
}

RecordingEventPoster::Entry sleepEntry(quint32 microseconds)
{
    RecordingEventPoster::Entry entry;
    entry.type = RecordingEventPoster::Entry::Type::Sleep;
    entry.sleepMicroseconds = microseconds;
    return entry;
}

QString describe(const RecordingEventPoster::Entry& entry)
{
    using Type = RecordingEventPoster::Entry::Type;
    switch (entry.type) {
    case Type::Mouse:
        return QStringLiteral("mouse(kind %1 at %2,%3 click %4)")
            .arg(int(entry.mouse.kind))
            .arg(entry.mouse.point.x(), 0, 'g', 17)
            .arg(entry.mouse.point.y(), 0, 'g', 17)
            .arg(entry.mouse.clickState);
    case Type::Key:
        return QStringLiteral("key(%1 %2 flags 0x%3)")
            .arg(entry.key.keyCode)
            .arg(entry.key.down ? "down" : "up")
            .arg(entry.key.flags, 0, 16);
    case Type::Sleep:
        return QStringLiteral("sleep(%1 us)").arg(entry.sleepMicroseconds);
    }
    return {};
}
