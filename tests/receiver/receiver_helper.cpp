// Runs one receiver request in a process of its own, for the outcomes that end the process and
// for reading the local address inside a network namespace.
//   receiver_helper address | ping-nil | touchback-nil | cast-nil | upload-nil-ip |
//                   upload-nil-data | upload-nil-name | upload-nil-type | ping-not-utf8
#include "platform/StdoutLine.h"
#include "receiver/HDMITouchBack.h"
#include "receiver/LocalAddress.h"
#include "receiver/PingServer.h"
#include "receiver/TriggerCastingApp.h"
#include "receiver/UploadDataToHost.h"

#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdio>

namespace {

void upload(std::optional<QString> type, std::optional<UploadData> data,
    std::optional<QString> name, std::optional<QString> address)
{
    UploadDataToHost request;
    request.initWithFileType(type, data, name, address);
    request.upload();
}

// A receiver whose heartbeat answer is 200 with bytes that are not UTF-8.
void pingNotUtf8(QCoreApplication& app)
{
    auto* server = new QTcpServer(&app);
    if (!server->listen(QHostAddress(QStringLiteral("127.0.0.40")), 5000))
        std::exit(3);
    QObject::connect(server, &QTcpServer::newConnection, server, [server] {
        QTcpSocket* socket = server->nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] {
            socket->readAll();
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nOK\xff");
        });
    });
    PingServer().pingServerHeartbeat(QStringLiteral("127.0.0.40"), [](bool, const QString&) {
        StdoutLine::print("handler called");
        QCoreApplication::exit(0);
    });
    app.exec();
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString mode = argc > 1 ? QString::fromUtf8(argv[1]) : QString();
    const auto data = UploadData::fromBytes("abc");
    const QString address = QStringLiteral("127.0.0.41");
    if (mode == QLatin1String("address")) {
        std::printf("address=%s\n", qPrintable(LocalAddress::localWiFiAddress()));
        std::printf("ping=%s\n", qPrintable(PingServer::localWiFiAddress()));
        return 0;
    } else if (mode == QLatin1String("ping-nil")) {
        PingServer().pingServerHeartbeat(std::nullopt, [](bool success, const QString&) {
            std::printf("handler %s\n", success ? "true" : "false");
        });
    } else if (mode == QLatin1String("touchback-nil")) {
        HDMITouchBack().enableHDMITouchback(true, false, std::nullopt);
    } else if (mode == QLatin1String("cast-nil")) {
        TriggerCastingApp::create()->triggerCastService(std::nullopt);
    } else if (mode == QLatin1String("upload-nil-ip")) {
        upload(QStringLiteral("image/png"), data, QStringLiteral("a.png"), std::nullopt);
    } else if (mode == QLatin1String("upload-nil-data")) {
        upload(QStringLiteral("image/png"), std::nullopt, QStringLiteral("a.png"), address);
    } else if (mode == QLatin1String("upload-nil-name")) {
        upload(QStringLiteral("image/png"), data, std::nullopt, address);
    } else if (mode == QLatin1String("upload-nil-type")) {
        upload(std::nullopt, data, QStringLiteral("a.png"), address);
    } else if (mode == QLatin1String("ping-not-utf8")) {
        pingNotUtf8(app);
    } else {
        std::fprintf(stderr, "unknown mode\n");
        return 2;
    }
    std::printf("returned\n");
    return 0;
}
