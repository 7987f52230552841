#pragma once

#include <QByteArray>
#include <QString>

struct AvahiClient;
struct AvahiEntryGroup;
struct AvahiThreadedPoll;

// Announces one "_airplay._tcp" service through the local avahi-daemon. Avahi runs on its own
// threaded poll; everything it calls back happens on that thread under its lock.
class AvahiAnnouncer
{
public:
    AvahiAnnouncer(QByteArray instanceName, quint16 port);
    ~AvahiAnnouncer();

    // Starts talking to the daemon; false with a reason when the client cannot be made.
    bool start(QString* error);

private:
    static void clientChanged(AvahiClient* client, int state, void* self);
    static void groupChanged(AvahiEntryGroup* group, int state, void* self);
    void publish(AvahiClient* client);

    QByteArray m_name;
    quint16 m_port;
    AvahiThreadedPoll* m_poll = nullptr;
    AvahiClient* m_client = nullptr;
    AvahiEntryGroup* m_group = nullptr;
};
