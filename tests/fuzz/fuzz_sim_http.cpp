// The receiver simulator's HTTP request parser on a real loopback connection: the input is what
// a client sends before it closes its side. Every complete request is answered 200 at once,
// as the simulator does; the connection must end (answered or rejected) without a crash.
#include "HttpConnection.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QHostAddress>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace {
struct Loopback
{
    Loopback()
    {
        if (!server.listen(QHostAddress::LocalHost, 0))
            __builtin_trap();
    }
    QTcpServer server;
    QTemporaryDir uploads;
};

void quiet(QtMsgType, const QMessageLogContext&, const QString&)
{ }
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char* argv[] = {name, nullptr};
    // Never destroyed: Qt's globals may be gone at exit. Both stay reachable for the leak checker.
    static QCoreApplication* app = new QCoreApplication(argc, argv);
    static Loopback& loopback = *new Loopback;
    Q_UNUSED(app)
    qInstallMessageHandler(quiet);

    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, loopback.server.serverPort());
    if (!client.waitForConnected(5000) || !loopback.server.waitForNewConnection(5000))
        __builtin_trap();
    QPointer<HttpConnection> connection
        = new HttpConnection(loopback.server.nextPendingConnection(), loopback.uploads.path());
    QObject::connect(connection, &HttpConnection::requestReceived, connection,
        [c = connection.data()](const HttpRequest&) { c->respond(200, "{}"); });

    client.write(reinterpret_cast<const char*>(data), qint64(size));
    client.disconnectFromHost(); // sends what is written, then closes
    // The server side deletes itself once it sees the end of the stream.
    const QDeadlineTimer deadline(10000);
    while (connection && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        client.readAll();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    if (connection)
        __builtin_trap(); // the connection hung
    return 0;
}
