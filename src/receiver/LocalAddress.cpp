#include "receiver/LocalAddress.h"

#include "platform/Logging.h"

#include <QFile>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <sys/socket.h>

#include <array>

namespace LocalAddress {

QString defaultRouteInterface()
{
    // Columns: Iface Destination Gateway Flags RefCnt Use Metric Mask ...
    QFile routes(QStringLiteral("/proc/net/route"));
    if (!routes.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    routes.readLine(); // header
    while (!routes.atEnd()) {
        const QList<QByteArray> fields = routes.readLine().simplified().split(' ');
        if (fields.size() >= 8 && fields[1] == "00000000" && fields[7] == "00000000")
            return QString::fromLatin1(fields[0]);
    }
    return {};
}

QString localWiFiAddress()
{
    const QString interfaceName = defaultRouteInterface();
    if (interfaceName.isEmpty())
        return {};
    const QByteArray wanted = interfaceName.toLocal8Bit();

    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return {};
    QString result;
    for (ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        // Linux lists interfaces without a link-layer address (tun, for one) with no address at
        // all; they carry no IPv4 address and are passed over rather than treated as broken.
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET || !entry->ifa_name)
            continue;
        if (wanted != entry->ifa_name)
            continue;
        std::array<char, 1025> host {};
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host.data(), host.size(), nullptr, 0,
                NI_NUMERICHOST)
            == 0)
            result = QString::fromLatin1(host.data());
    }
    freeifaddrs(list);
    return result;
}

} // namespace LocalAddress
