// Shutting down this process's connections to one peer: only those go, on loopback sockets.
#include "receiver/ConnectionShutdown.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <memory>
#include <vector>

class ConnectionShutdownTest : public QObject
{
    Q_OBJECT

private:
    // A client connection to server; the server's end waits in its pending connections.
    static std::unique_ptr<QTcpSocket> connectTo(QTcpServer& server)
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(server.serverAddress(), server.serverPort());
        if (!socket->waitForConnected(5000) || !server.waitForNewConnection(5000))
            return nullptr;
        return socket;
    }

private slots:
    void onlyTheConnectionsToThatPeerEnd()
    {
        QTcpServer target;
        QTcpServer bystander;
        QVERIFY(target.listen(QHostAddress(QStringLiteral("127.0.0.1"))));
        QVERIFY(bystander.listen(QHostAddress(QStringLiteral("127.0.0.1"))));
        const auto first = connectTo(target);
        const auto second = connectTo(target);
        const auto other = connectTo(bystander);
        QVERIFY(first && second && other);

        QCOMPARE(ConnectionShutdown::shutdownConnectionsTo(
                     QHostAddress(QStringLiteral("127.0.0.1")), target.serverPort()),
            2);

        // The shut-down ends see their end; their descriptors are still theirs to close.
        QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(second->state(), QAbstractSocket::UnconnectedState);
        // The server's side of them is told too.
        QTcpSocket* served = target.nextPendingConnection();
        QVERIFY(served);
        QTRY_COMPARE(served->state(), QAbstractSocket::UnconnectedState);
        // The other connection still carries data both ways.
        QTcpSocket* otherServed = bystander.nextPendingConnection();
        QVERIFY(otherServed);
        other->write("ping");
        QVERIFY(other->waitForBytesWritten(5000));
        QVERIFY(otherServed->waitForReadyRead(5000));
        QCOMPARE(otherServed->readAll(), QByteArray("ping"));
        QCOMPARE(other->state(), QAbstractSocket::ConnectedState);
    }

    void noConnectionNoEffect()
    {
        QCOMPARE(
            ConnectionShutdown::shutdownConnectionsTo(QHostAddress(QStringLiteral("127.0.0.1")), 9),
            0);
    }
};

QTEST_GUILESS_MAIN(ConnectionShutdownTest)
#include "tst_connection_shutdown.moc"
