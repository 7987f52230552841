// Reading an upload's answer: framing, interim answers and the reply caps.
#include "receiver/HttpAnswerReader.h"
#include "receiver/ReplyLimits.h"

#include <QTest>

namespace {

// Feeds the bytes in pieces of the given size.
void feedInPieces(HttpAnswerReader& reader, const QByteArray& bytes, int piece)
{
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        reader.feed(bytes.constData() + at, qMin<qsizetype>(piece, bytes.size() - at));
}

} // namespace

class HttpAnswerTest : public QObject
{
    Q_OBJECT

private slots:
    void framing_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("needsClose");
        QTest::addColumn<qint64>("body");
        QTest::newRow("length") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nOK")
                                << false << qint64(2);
        QTest::newRow("chunked") << QByteArray("HTTP/1.1 500 Internal Server Error\r\n"
                                               "Transfer-Encoding: chunked\r\n\r\n"
                                               "3;x=y\r\nabc\r\n10\r\n0123456789abcdef\r\n0\r\n"
                                               "Trailer: 1\r\n\r\n")
                                 << false << qint64(19);
        QTest::newRow("until close")
            << QByteArray("HTTP/1.0 404 Not Found\r\nServer: x\r\n\r\nnothing here") << true
            << qint64(12);
        QTest::newRow("interim first")
            << QByteArray("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 201 Created\r\n"
                          "Content-Length: 0\r\n\r\n")
            << false << qint64(0);
        QTest::newRow("bare line ends")
            << QByteArray("HTTP/1.1 204 No Content\nA: b\n\n") << false << qint64(0);
    }

    void framing()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, needsClose);
        QFETCH(qint64, body);
        for (const int piece : {1, 7, int(answer.size())}) {
            HttpAnswerReader reader;
            feedInPieces(reader, answer, piece);
            if (needsClose) {
                QCOMPARE(reader.state(), HttpAnswerReader::State::Body);
                reader.endOfStream();
            }
            QCOMPARE(reader.state(), HttpAnswerReader::State::Done);
            QCOMPARE(reader.bodyBytes(), body);
            QVERIFY(!reader.bodyCapped());
        }
    }

    void statusAndHeadersInOrder()
    {
        HttpAnswerReader reader;
        const QByteArray answer = "HTTP/1.1 503 Service Unavailable\r\nB: 1\r\nA:  two \r\n"
                                  " folded\r\nb: 3\r\nContent-Length: 0\r\n\r\n";
        reader.feed(answer.constData(), answer.size());
        QCOMPARE(reader.state(), HttpAnswerReader::State::Done);
        QCOMPARE(reader.status(), 503);
        QCOMPARE(reader.reasonPhrase(), QByteArray("Service Unavailable"));
        const QList<HttpAnswerReader::Header> expected {
            {"B", "1"}, {"A", "two folded"}, {"b", "3"}, {"Content-Length", "0"}};
        QCOMPARE(reader.headers(), expected);
    }

    void brokenAnswersFail_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("not http") << QByteArray("SSH-2.0-OpenSSH\r\n\r\n");
        QTest::newRow("no status") << QByteArray("HTTP/1.1 OK\r\n\r\n");
        QTest::newRow("bad length") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n");
        QTest::newRow("bad chunk")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n");
    }

    void brokenAnswersFail()
    {
        QFETCH(QByteArray, answer);
        HttpAnswerReader reader;
        reader.feed(answer.constData(), answer.size());
        QCOMPARE(reader.state(), HttpAnswerReader::State::Failed);
        QVERIFY(!reader.failure().isEmpty());
    }

    void closedBeforeTheEndFails()
    {
        for (const QByteArray& answer : {QByteArray("HTTP/1.1 200 OK\r\nContent-Len"),
                 QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nshort")}) {
            HttpAnswerReader reader;
            reader.feed(answer.constData(), answer.size());
            reader.endOfStream();
            QCOMPARE(reader.state(), HttpAnswerReader::State::Failed);
        }
    }

    void headerBlockOverTheCapFails()
    {
        HttpAnswerReader reader;
        const QByteArray start = "HTTP/1.1 200 OK\r\n";
        reader.feed(start.constData(), start.size());
        const QByteArray line = "X-Filler: " + QByteArray(1000, 'a') + "\r\n";
        qint64 fed = start.size();
        while (reader.state() == HttpAnswerReader::State::Head && fed < 1024 * 1024) {
            reader.feed(line.constData(), line.size());
            fed += line.size();
        }
        QCOMPARE(reader.state(), HttpAnswerReader::State::Failed);
        QVERIFY(fed <= ReplyLimits::maxHeaderBytes + 2 * line.size());
    }

    void headerBlockJustUnderTheCapIsRead()
    {
        QByteArray answer = "HTTP/1.1 200 OK\r\nX-Filler: ";
        answer += QByteArray(ReplyLimits::maxHeaderBytes - answer.size() - 8, 'a');
        answer += "\r\n\r\n";
        HttpAnswerReader reader;
        feedInPieces(reader, answer, 4096);
        QCOMPARE(reader.state(), HttpAnswerReader::State::Body);
    }

    void bodyOverTheCapStopsThere()
    {
        HttpAnswerReader reader;
        const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 1000000000\r\n\r\n";
        reader.feed(head.constData(), head.size());
        const QByteArray chunk(64 * 1024, 'x');
        qint64 fed = 0;
        while (reader.state() == HttpAnswerReader::State::Body && fed < 1000000000) {
            reader.feed(chunk.constData(), chunk.size());
            fed += chunk.size();
        }
        QCOMPARE(reader.state(), HttpAnswerReader::State::Done);
        QVERIFY(reader.bodyCapped());
        QCOMPARE(reader.status(), 200);
        QVERIFY(fed <= ReplyLimits::maxBodyBytes + chunk.size());
    }
};

QTEST_GUILESS_MAIN(HttpAnswerTest)
#include "tst_http_answer.moc"
