#include "receiver/ConnectionShutdown.h"

#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace ConnectionShutdown {

namespace {

bool connectedTo(int fd, const QHostAddress& address, quint16 port)
{
    int type = 0;
    socklen_t typeLength = sizeof type;
    if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &typeLength) != 0 || type != SOCK_STREAM)
        return false;
    sockaddr_storage peer {};
    socklen_t peerLength = sizeof peer;
    if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) != 0)
        return false;
    QHostAddress peerAddress;
    quint16 peerPort = 0;
    if (peer.ss_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(&peer);
        peerAddress.setAddress(reinterpret_cast<const sockaddr*>(v4));
        peerPort = ntohs(v4->sin_port);
    } else if (peer.ss_family == AF_INET6) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(&peer);
        peerAddress.setAddress(reinterpret_cast<const sockaddr*>(v6));
        peerPort = ntohs(v6->sin6_port);
    } else {
        return false;
    }
    return peerPort == port && peerAddress.isEqual(address, QHostAddress::TolerantConversion);
}

} // namespace

int shutdownConnectionsTo(const QHostAddress& address, quint16 port)
{
    int count = 0;
    // Every descriptor of the process; only sockets answer the calls above.
    DIR* descriptors = ::opendir("/proc/self/fd");
    if (!descriptors)
        return 0;
    while (const dirent* entry = ::readdir(descriptors)) {
        bool ok = false;
        const int fd = QByteArray(entry->d_name).toInt(&ok);
        if (ok && fd != ::dirfd(descriptors) && connectedTo(fd, address, port)
            && ::shutdown(fd, SHUT_RDWR) == 0)
            ++count;
    }
    ::closedir(descriptors);
    return count;
}

} // namespace ConnectionShutdown
