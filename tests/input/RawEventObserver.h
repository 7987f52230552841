#pragma once

#include <QList>
#include <QPoint>

typedef struct _XDisplay Display;

// Watches the X server's raw input (XInput2 raw button, key and motion events on the root
// window) over a connection of its own, as any other client on the desktop would.
class RawEventObserver
{
public:
    enum class Type { Motion, Press, Release, KeyDown, KeyUp };
    struct Event
    {
        Type type;
        int detail; // button number or X key code; 0 for motion
        bool operator==(const Event& other) const = default;
    };

    RawEventObserver();
    ~RawEventObserver();
    RawEventObserver(const RawEventObserver&) = delete;
    RawEventObserver& operator=(const RawEventObserver&) = delete;

    bool isValid() const { return m_valid; }
    Display* display() const { return m_display; }

    // Reads events until `count` events of the given type arrived or the timeout ran out;
    // returns everything read on the way.
    QList<Event> readUntil(Type type, int count, int timeoutMs = 5000);
    // Everything that arrives within the given time.
    QList<Event> readFor(int timeoutMs);
    // The pointer position on the root window, after all requests so far were handled.
    QPoint pointer();
    int keyCode(unsigned long keySym);

private:
    bool readOne(Event& event, int timeoutMs);

    Display* m_display = nullptr;
    int m_opcode = 0;
    bool m_valid = false;
};

const char* typeName(RawEventObserver::Type type);
