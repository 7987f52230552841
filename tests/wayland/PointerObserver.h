#pragma once

#include <QList>
#include <QObject>
#include <QPointF>
#include <QProcess>
#include <QString>

// Runs wayland_pointer_observer (a full-screen Wayland window) and keeps the pointer events it
// reports, in order.
class PointerObserver : public QObject
{
    Q_OBJECT
public:
    struct Event
    {
        QString kind; // "enter", "motion", "pressed", "released", "leave"
        qint64 us = 0;
        QPointF at; // for buttons: where the pointer was
    };

    explicit PointerObserver(QObject* parent = nullptr);
    ~PointerObserver() override;

    // Starts the observer and waits (event loop running) until its window is shown.
    bool start(int timeoutMs = 10000);
    QList<Event> events() const { return m_events; }
    // Only the button events, each with the pointer position it happened at.
    QList<Event> buttons() const;
    QString log() const { return m_log; }

private:
    void readLines();

    QProcess m_process;
    QByteArray m_buffer;
    QList<Event> m_events;
    QPointF m_position;
    bool m_ready = false;
    QString m_log;
};
