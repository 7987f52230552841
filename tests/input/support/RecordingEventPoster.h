#pragma once

#include "platform/MouseEventPoster.h"

#include <QList>
#include <QString>

#include <functional>
#include <set>

// Keeps every posted event (and, through ManualClock, every pause) in order, reports a main
// screen of a chosen size, and can be told to fail the creation of chosen event kinds.
class RecordingEventPoster final : public MouseEventPoster
{
public:
    struct Entry
    {
        enum class Type { Mouse, Key, Sleep };
        Type type = Type::Mouse;
        MouseEvent mouse;
        KeyEvent key;
        quint32 sleepMicroseconds = 0;
        bool operator==(const Entry& other) const;
    };

    std::optional<MouseEvent> createMouseEvent(MouseEventKind kind, QPointF point) override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;
    std::optional<QSizeF> mainScreenSize() override;
    void prepare() override { ++m_preparations; }
    void finish() override { ++m_finishes; }

    void recordSleep(quint32 microseconds);

    const QList<Entry>& entries() const { return m_entries; }
    QList<MouseEvent> mouseEvents() const;
    void clear()
    {
        m_entries.clear();
        m_preparations = 0;
        m_finishes = 0;
    }
    // How many times touchback asked the poster to get ready.
    int preparations() const { return m_preparations; }
    // How many times touchback told the poster that its touch socket closed.
    int finishes() const { return m_finishes; }
    int screenQueries() const { return m_screenQueries; }
    int mouseCreations() const { return m_mouseCreations; }

    std::optional<QSizeF> screenSize = QSizeF(1440, 900);
    std::set<MouseEventKind> failingMouseKinds;
    bool failKeyCreation = false;
    // Runs after each post (tests use it to look at the state between events).
    std::function<void()> afterPost;

private:
    QList<Entry> m_entries;
    int m_screenQueries = 0;
    int m_mouseCreations = 0;
    int m_preparations = 0;
    int m_finishes = 0;
};

// Shortcuts for expected entries.
RecordingEventPoster::Entry mouseEntry(MouseEventKind kind, QPointF point, int clickState = 0);
RecordingEventPoster::Entry keyEntry(std::uint16_t keyCode, bool down, std::uint64_t flags = 0);
RecordingEventPoster::Entry sleepEntry(quint32 microseconds);

QString describe(const RecordingEventPoster::Entry& entry);
