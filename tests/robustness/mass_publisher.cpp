// Announces COUNT receivers "Brevik|Room N|0a01xxxx" (_airplay._tcp) through the Avahi daemon from
// one client, one entry group each (a group holds few entries; a client may own ~1000 objects).
// Prints "established COUNT" once every group is up; all are withdrawn when the process ends
// (SIGTERM).
//   mass_publisher COUNT
#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <avahi-common/simple-watch.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

struct Publisher
{
    AvahiSimplePoll* poll = nullptr;
    int count = 0;
    int established = 0;
    std::vector<AvahiEntryGroup*> groups;
};

void fail(Publisher& publisher, const char* what, int error)
{
    std::printf("failed %s: %s\n", what, avahi_strerror(error));
    std::fflush(stdout);
    avahi_simple_poll_quit(publisher.poll);
}

void onGroup(AvahiEntryGroup* group, AvahiEntryGroupState state, void* data)
{
    auto& publisher = *static_cast<Publisher*>(data);
    if (state == AVAHI_ENTRY_GROUP_ESTABLISHED) {
        if (++publisher.established == publisher.count) {
            std::printf("established %d\n", publisher.count);
            std::fflush(stdout);
        }
    } else if (state == AVAHI_ENTRY_GROUP_COLLISION || state == AVAHI_ENTRY_GROUP_FAILURE) {
        fail(publisher, "entry group", avahi_client_errno(avahi_entry_group_get_client(group)));
    }
}

void publishAll(AvahiClient* client, Publisher& publisher)
{
    for (int i = 0; i < publisher.count; ++i) {
        AvahiEntryGroup* group = avahi_entry_group_new(client, onGroup, &publisher);
        if (!group)
            return fail(publisher, "new group", avahi_client_errno(client));
        publisher.groups.push_back(group);
        char name[64];
        std::snprintf(name, sizeof name, "Brevik|Room %d|0a01%04x", i + 1, i + 1);
        int error = avahi_entry_group_add_service(group, AVAHI_IF_UNSPEC, AVAHI_PROTO_INET,
            AvahiPublishFlags(0), name, "_airplay._tcp", nullptr, nullptr, 7000, nullptr);
        if (error >= 0)
            error = avahi_entry_group_commit(group);
        if (error < 0)
            return fail(publisher, name, error);
    }
}

void onClient(AvahiClient* client, AvahiClientState state, void* data)
{
    auto& publisher = *static_cast<Publisher*>(data);
    if (state == AVAHI_CLIENT_S_RUNNING && publisher.groups.empty())
        publishAll(client, publisher);
    else if (state == AVAHI_CLIENT_FAILURE)
        fail(publisher, "client", avahi_client_errno(client));
}

} // namespace

int main(int argc, char** argv)
{
    Publisher publisher;
    publisher.count = argc > 1 ? std::atoi(argv[1]) : 0;
    if (publisher.count <= 0 || publisher.count > 0xffff) {
        std::fprintf(stderr, "usage: mass_publisher COUNT (1..65535)\n");
        return 2;
    }
    publisher.poll = avahi_simple_poll_new();
    int error = 0;
    AvahiClient* client = avahi_client_new(
        avahi_simple_poll_get(publisher.poll), AvahiClientFlags(0), onClient, &publisher, &error);
    if (!client) {
        std::printf("failed client: %s\n", avahi_strerror(error));
        return 1;
    }
    // Runs until a failure or until terminated: the daemon then sees its client go and withdraws
    // every service it announced.
    avahi_simple_poll_loop(publisher.poll);
    avahi_client_free(client);
    avahi_simple_poll_free(publisher.poll);
    return publisher.established == publisher.count ? 0 : 1;
}
