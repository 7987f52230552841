// Answers to an upload that a receiver should never send, on real sockets inside a private
// network namespace: the reply caps hold, and answers that break off are transport failures.
#include "AlertRecorder.h"
#include "DrainMainQueue.h"
#include "LogCapture.h"
#include "NetnsShell.h"
#include "StdoutCapture.h"

#include "receiver/ReceiverSession.h"
#include "receiver/ReplyLimits.h"
#include "receiver/UploadDataToHost.h"

#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

namespace {

// Answers the first request on port 5505 with fixed bytes: once the whole request is in, or as
// soon as its head is (the body then stays unread). Keeps the connection open unless told.
class ScriptedServer : public QTcpServer
{
public:
    ScriptedServer(QByteArray answer, bool early, bool closeAfter)
        : m_answer(std::move(answer))
        , m_early(early)
        , m_closeAfter(closeAfter)
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            m_socket = nextPendingConnection();
            connect(m_socket, &QTcpSocket::readyRead, this, &ScriptedServer::onReadyRead);
            connect(m_socket, &QTcpSocket::disconnected, this, [this] { m_peerClosed = true; });
        });
    }
    bool peerClosed() const { return m_peerClosed; }

private:
    void onReadyRead()
    {
        if (m_answered)
            return;
        if (!m_early || !m_head.contains("\r\n\r\n"))
            m_head += m_socket->readAll();
        const qsizetype end = m_head.indexOf("\r\n\r\n");
        if (end < 0)
            return;
        const qsizetype at = m_head.indexOf("Content-Length: ");
        const qint64 length = m_head.mid(at + 16, m_head.indexOf('\r', at) - at - 16).toLongLong();
        if (!m_early && m_head.size() - end - 4 < length)
            return;
        m_answered = true;
        m_socket->write(m_answer);
        if (m_closeAfter)
            m_socket->disconnectFromHost();
    }

    QByteArray m_answer;
    bool m_early;
    bool m_closeAfter;
    QPointer<QTcpSocket> m_socket;
    QByteArray m_head;
    bool m_answered = false;
    bool m_peerClosed = false;
};

void startUpload(const QByteArray& content, const QString& address)
{
    UploadDataToHost upload;
    upload.initWithFileType(QStringLiteral("image/png"), UploadData::fromBytes(content),
        QStringLiteral("a.png"), address);
    upload.upload();
}

} // namespace

class UploadAnswersTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }

    void headerBlockOverTheCapIsATransportFailure()
    {
        QByteArray answer = "HTTP/1.1 200 OK\r\n";
        while (answer.size() <= ReplyLimits::maxHeaderBytes)
            answer += "X-Filler: " + QByteArray(100, 'a') + "\r\n";
        answer += "Content-Length: 0\r\n\r\n";
        ScriptedServer server(answer, false, false);
        QVERIFY(server.listen(QHostAddress(QStringLiteral("127.0.0.41")), 5505));
        StdoutCapture out;
        AlertRecorder alerts;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        startUpload("abc", QStringLiteral("127.0.0.41"));
        QVERIFY(finished.wait(10000));
        QVERIFY(drainMainQueue());
        QVERIFY(alerts.alerts().isEmpty());
        QCOMPARE(out.lines().size(), 2); // "Uploading..." and the request line
        QTRY_VERIFY(server.peerClosed());
    }

    void bodyOverTheCapIsDroppedAndTheAnswerCounts()
    {
        const qint64 length = 3 * ReplyLimits::maxBodyBytes;
        const QByteArray answer = "HTTP/1.1 500 Internal Server Error\r\nContent-Length: "
            + QByteArray::number(length) + "\r\n\r\n" + QByteArray(length, 'x');
        ScriptedServer server(answer, false, false);
        QVERIFY(server.listen(QHostAddress(QStringLiteral("127.0.0.42")), 5505));
        StdoutCapture out;
        AlertRecorder alerts;
        LogCapture log;
        startUpload("abc", QStringLiteral("127.0.0.42"));
        QTRY_COMPARE_WITH_TIMEOUT(alerts.alerts().size(), 1, 10000);
        QCOMPARE(alerts.alerts()[0].informativeText,
            QStringLiteral("Server error while uploading. Please try again."));
        QVERIFY(out.lines().value(2).contains(", status code: 500,"));
        const QStringList lines = log.messages("orventa.receiver");
        QCOMPARE(lines.filter(QStringLiteral("the rest is dropped")).size(), 1);
        QTRY_VERIFY(server.peerClosed()); // the connection is closed on our side
    }

    void anAnswerBeforeTheWholeBodyIsTheAnswer()
    {
        ScriptedServer server("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n", true, false);
        QVERIFY(server.listen(QHostAddress(QStringLiteral("127.0.0.43")), 5505));
        AlertRecorder alerts;
        // Far more than the socket buffers hold, so the body cannot all go out unread.
        startUpload(QByteArray(64 * 1024 * 1024, 'b'), QStringLiteral("127.0.0.43"));
        QTRY_COMPARE_WITH_TIMEOUT(alerts.alerts().size(), 1, 10000);
        QCOMPARE(alerts.alerts()[0].informativeText, QStringLiteral("File Upload failed."));
    }

    void anAnswerThatBreaksOffIsATransportFailure()
    {
        ScriptedServer server("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc", false, true);
        QVERIFY(server.listen(QHostAddress(QStringLiteral("127.0.0.44")), 5505));
        StdoutCapture out;
        AlertRecorder alerts;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        startUpload("abc", QStringLiteral("127.0.0.44"));
        QVERIFY(finished.wait(10000));
        QVERIFY(drainMainQueue());
        QVERIFY(alerts.alerts().isEmpty());
        QCOMPARE(out.lines().size(), 2);
    }
};

QTEST_MAIN(UploadAnswersTest)
#include "tst_upload_answers.moc"
