// receiver-sim on loopback with its test ports: what it answers, what it logs, how it checks an
// upload body and the touch datagrams it sends.
#include "SimProcess.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QProcess>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryFile>
#include <QTest>
#include <QUdpSocket>

namespace {

const QString kAddress = QStringLiteral("127.0.0.150");
const QStringList kPorts {QStringLiteral("--control-port"), QStringLiteral("25150"),
    QStringLiteral("--upload-port"), QStringLiteral("25151"), QStringLiteral("--touch-port"),
    QStringLiteral("25152")};

// Sends raw bytes and returns the whole answer (the simulator answers with a Content-Length).
QByteArray exchange(const QByteArray& bytes, quint16 port)
{
    QTcpSocket socket;
    socket.connectToHost(kAddress, port);
    if (!socket.waitForConnected(5000))
        return {};
    socket.write(bytes);
    QByteArray answer;
    while (socket.waitForReadyRead(5000)) {
        answer += socket.readAll();
        const qsizetype end = answer.indexOf("\r\n\r\n");
        const qsizetype at = answer.indexOf("Content-Length: ");
        if (end >= 0 && at >= 0) {
            const qint64 length
                = answer.mid(at + 16, answer.indexOf('\r', at) - at - 16).toLongLong();
            if (answer.size() >= end + 4 + length)
                break;
        }
    }
    return answer;
}

QByteArray upload(const QByteArray& boundary, const QByteArray& body)
{
    return "POST /uploadfile HTTP/1.1\r\nHost: x\r\nContent-Type: multipart/form-data; boundary="
        + boundary + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

class ReceiverSimTest : public QObject
{
    Q_OBJECT

private slots:
    void helpDocumentsTheCommands()
    {
        QProcess help;
        help.start(QStringLiteral(RECEIVER_SIM), {QStringLiteral("--help")});
        QVERIFY(help.waitForFinished(5000));
        const QByteArray text = help.readAllStandardOutput();
        for (const char* word : {"--announce", "--upload-dir", "--log", "--control-port",
                 "--upload-port", "--touch-port", "answer PATH STATUS", "silent PATH", "cast-off",
                 "busy", "touch EVENT X Y", "script FILE"})
            QVERIFY2(text.contains(word), word);
    }

    void controlAnswersFollowCommands()
    {
        SimProcess sim(kAddress, kPorts);
        QVERIFY(sim.isReady());
        const QByteArray get
            = "GET /pingServerWithIP?ip=1.2.3.4&msg=ping HTTP/1.1\r\nHost: x\r\n\r\n";
        QVERIFY(exchange(get, 25150).startsWith("HTTP/1.1 200 OK\r\n"));
        QVERIFY(exchange(get, 25150).endsWith("\r\n\r\nOK"));
        QVERIFY(sim.command("cast-off").startsWith("ok"));
        QVERIFY(exchange(get, 25150).endsWith("\r\n\r\nCAST_OFF"));
        QVERIFY(sim.command("busy").startsWith("ok"));
        QVERIFY(exchange(get, 25150).endsWith("\r\n\r\nDevice is busy"));
        QVERIFY(sim.command("answer /pingServerWithIP 503 down").startsWith("ok"));
        QVERIFY(exchange(get, 25150).startsWith("HTTP/1.1 503 "));
        QVERIFY(sim.command("silent /pingServerWithIP").startsWith("ok"));
        QTcpSocket held;
        held.connectToHost(kAddress, 25150);
        QVERIFY(held.waitForConnected(5000));
        held.write(get);
        QVERIFY(sim.waitForRequests(6));
        QVERIFY(!held.waitForReadyRead(300)); // logged, and held without an answer
        QVERIFY(sim.command("bogus").startsWith("error:"));
        const auto requests = sim.requests();
        QCOMPARE(requests.size(), 6);
        QVERIFY(requests[5]["answer"].isNull());
        QCOMPARE(requests[4]["answer"].toInt(), 503);
        QCOMPARE(requests[0]["target"].toString(),
            QStringLiteral("/pingServerWithIP?ip=1.2.3.4&msg=ping"));
        QCOMPARE(loggedHeaders(requests[0]).value(0),
            qMakePair(QStringLiteral("Host"), QStringLiteral("x")));
    }

    void uploadBodyIsChecked_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("ok");
        const QByteArray part
            = "--B\r\nContent-Disposition: form-data; name=\"my-file\"; filename=\"a.txt\"\r\n"
              "Content-Type: text/plain\r\n\r\n";
        QTest::newRow("well formed") << part + "hello\r\n--B--\r\n" << true;
        QTest::newRow("empty file") << part + "\r\n--B--\r\n" << true;
        QTest::newRow("no closing boundary") << part + "hello\r\n--B\r\n" << false;
        QTest::newRow("wrong opening") << "--C\r\n" + part.mid(5) + "hello\r\n--B--\r\n" << false;
        QTest::newRow("no disposition")
            << QByteArray("--B\r\nContent-Type: text/plain\r\n\r\nx\r\n--B--\r\n") << false;
    }

    void uploadBodyIsChecked()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, ok);
        SimProcess sim(kAddress, kPorts);
        QVERIFY(sim.isReady());
        const QByteArray answer = exchange(upload("B", body), 25151);
        QVERIFY2(answer.startsWith(ok ? "HTTP/1.1 200 " : "HTTP/1.1 400 "), answer);
        const QJsonObject logged = sim.requests().value(0);
        QCOMPARE(logged["upload"].toObject()["ok"].toBool(), ok);
        QCOMPARE(logged["bodyLength"].toInteger(), body.size());
        if (ok) {
            QFile stored(sim.uploadDir() + QStringLiteral("/a.txt"));
            QVERIFY(stored.open(QIODevice::ReadOnly));
            QCOMPARE(stored.readAll(), body.contains("hello") ? QByteArray("hello") : QByteArray());
        } else {
            QVERIFY(!QFile::exists(sim.uploadDir() + QStringLiteral("/a.txt")));
        }
    }

    void touchesGoToWhoeverEnabledTouchback()
    {
        QUdpSocket receiver;
        QVERIFY(receiver.bind(QHostAddress(QStringLiteral("127.0.0.151")), 25152));
        SimProcess sim(kAddress, kPorts);
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("touch DOWN 1 2 3").startsWith("error:")); // nobody enabled it yet
        QTcpSocket socket;
        socket.bind(QHostAddress(QStringLiteral("127.0.0.151")));
        socket.connectToHost(kAddress, 25150);
        QVERIFY(socket.waitForConnected(5000));
        socket.write("GET /enableWifiTouchback?ip=10.0.0.1&enable=true&hidemenu=false&isHDMI=false"
                     " HTTP/1.1\r\nHost: x\r\n\r\n");
        QVERIFY(socket.waitForReadyRead(5000));
        QVERIFY(sim.command("touch DOWN 16383 16383 1700000000000").startsWith("sent"));
        QTemporaryFile script;
        QVERIFY(script.open());
        script.write("# a tap\nMOVE,1,2,3;\ndelay 10\nUP,1,2,4;\n");
        script.flush();
        QVERIFY(sim.command("script " + script.fileName().toUtf8()).endsWith("(2 datagrams)"));
        QByteArrayList datagrams;
        QTRY_VERIFY((
            datagrams +=
            [&] {
                QByteArrayList got;
                while (receiver.hasPendingDatagrams()) {
                    QByteArray d(int(receiver.pendingDatagramSize()), 0);
                    receiver.readDatagram(d.data(), d.size());
                    got << d;
                }
                return got;
            }(),
            datagrams.size() == 3));
        QCOMPARE(datagrams,
            (QByteArrayList {"DOWN,16383,16383,1700000000000;", "MOVE,1,2,3;", "UP,1,2,4;"}));
    }

    void largeUploadStreamsToDisk()
    {
        SimProcess sim(kAddress, kPorts);
        QVERIFY(sim.isReady());
        QByteArray content(8 * 1024 * 1024, 'z');
        const QByteArray part
            = "--B\r\nContent-Disposition: form-data; name=\"my-file\"; filename=\"big.bin\"\r\n"
              "Content-Type: application/octet-stream\r\n\r\n";
        QVERIFY(exchange(upload("B", part + content + "\r\n--B--\r\n"), 25151)
                    .startsWith("HTTP/1.1 200"));
        QCOMPARE(QFile(sim.uploadDir() + QStringLiteral("/big.bin")).size(), content.size());
    }
};

QTEST_GUILESS_MAIN(ReceiverSimTest)
#include "tst_receiver_sim.moc"
