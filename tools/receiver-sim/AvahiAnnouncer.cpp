#include "AvahiAnnouncer.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <avahi-common/thread-watch.h>

#include <cstdio>

AvahiAnnouncer::AvahiAnnouncer(QByteArray instanceName, quint16 port)
    : m_name(std::move(instanceName))
    , m_port(port)
{ }

AvahiAnnouncer::~AvahiAnnouncer()
{
    if (m_poll)
        avahi_threaded_poll_stop(m_poll);
    if (m_client)
        avahi_client_free(m_client); // frees the entry group too
    if (m_poll)
        avahi_threaded_poll_free(m_poll);
}

bool AvahiAnnouncer::start(QString* error)
{
    m_poll = avahi_threaded_poll_new();
    if (!m_poll) {
        *error = QStringLiteral("cannot create the Avahi poll");
        return false;
    }
    int code = 0;
    m_client = avahi_client_new(
        avahi_threaded_poll_get(m_poll), AVAHI_CLIENT_NO_FAIL,
        [](AvahiClient* c, AvahiClientState s, void* self) { clientChanged(c, s, self); }, this,
        &code);
    if (!m_client) {
        *error = QStringLiteral("cannot reach avahi-daemon: %1")
                     .arg(QString::fromUtf8(avahi_strerror(code)));
        return false;
    }
    avahi_threaded_poll_start(m_poll);
    return true;
}

void AvahiAnnouncer::clientChanged(AvahiClient* client, int state, void* self)
{
    auto* announcer = static_cast<AvahiAnnouncer*>(self);
    if (state == AVAHI_CLIENT_S_RUNNING) {
        announcer->publish(client);
    } else if (state == AVAHI_CLIENT_S_COLLISION || state == AVAHI_CLIENT_S_REGISTERING) {
        if (announcer->m_group)
            avahi_entry_group_reset(announcer->m_group);
    } else if (state == AVAHI_CLIENT_FAILURE) {
        std::fprintf(stderr, "receiver-sim: avahi client failure: %s\n",
            avahi_strerror(avahi_client_errno(client)));
    }
}

void AvahiAnnouncer::groupChanged(AvahiEntryGroup*, int state, void* self)
{
    auto* announcer = static_cast<AvahiAnnouncer*>(self);
    if (state == AVAHI_ENTRY_GROUP_ESTABLISHED) {
        std::printf("announced %s\n", announcer->m_name.constData());
        std::fflush(stdout);
    } else if (state == AVAHI_ENTRY_GROUP_COLLISION || state == AVAHI_ENTRY_GROUP_FAILURE) {
        std::fprintf(stderr, "receiver-sim: announcing \"%s\" failed (name collision or error)\n",
            announcer->m_name.constData());
    }
}

void AvahiAnnouncer::publish(AvahiClient* client)
{
    if (!m_group) {
        m_group = avahi_entry_group_new(
            client,
            [](AvahiEntryGroup* g, AvahiEntryGroupState s, void* self) {
                groupChanged(g, s, self);
            },
            this);
        if (!m_group)
            return;
    }
    if (!avahi_entry_group_is_empty(m_group))
        return;
    const int rc = avahi_entry_group_add_service(m_group, AVAHI_IF_UNSPEC, AVAHI_PROTO_INET,
        AvahiPublishFlags(0), m_name.constData(), "_airplay._tcp", nullptr, nullptr, m_port,
        nullptr);
    if (rc < 0 || avahi_entry_group_commit(m_group) < 0)
        std::fprintf(stderr, "receiver-sim: cannot announce \"%s\": %s\n", m_name.constData(),
            avahi_strerror(rc));
}
