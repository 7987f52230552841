#pragma once

#include <QObject>

// Tracks whether a modal session (an alert, the open panel) is running on the main thread.
// Qt keeps delivering timers and socket notifications inside a modal loop; work that must wait
// for the modal session to end (the heartbeat, touch datagrams) asks here and listens to ended().
class ModalState : public QObject
{
    Q_OBJECT
public:
    static ModalState* instance();
    static bool isActive();

    // Marks a modal session for the lifetime of the object.
    class Scope
    {
    public:
        Scope();
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
    };

signals:
    void started();
    void ended();

private:
    ModalState() = default;
    int m_depth = 0;
};
