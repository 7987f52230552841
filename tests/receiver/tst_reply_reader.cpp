// The reply reader on its own: header lines as the HTTP client hands them over, the caps.
#include "receiver/ReplyReader.h"

#include <QTest>

class ReplyReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void statusAndHeadersOfTheFinalAnswer()
    {
        ReplyReader reader;
        for (const char* line : {"HTTP/1.1 100 Continue\r\n", "X-Interim: 1\r\n", "\r\n",
                 "HTTP/1.1 404 Not Found\r\n", "Content-Type: text/plain\r\n", "Via: a\r\n",
                 "content-type: x\r\n", "Folded: one\r\n", " two\r\n", "no colon here\r\n", "\r\n"})
            QVERIFY(reader.takeHeaderLine(line));
        QCOMPARE(reader.status(), 404);
        const QList<ReplyReader::Header> expected {
            {"Via", "a"}, {"content-type", "text/plain, x"}, {"Folded", "one two"}};
        QCOMPARE(reader.headers(), expected);
    }

    void headerBlockOverItsCap()
    {
        ReplyReader reader;
        QVERIFY(reader.takeHeaderLine("HTTP/1.1 200 OK\r\n"));
        const QByteArray line = "X-Pad: " + QByteArray(1000, 'a') + "\r\n";
        qint64 fed = 19;
        while (fed + line.size() <= ReplyLimits::maxHeaderBytes) {
            QVERIFY(reader.takeHeaderLine(line));
            fed += line.size();
        }
        QVERIFY(!reader.headerBlockTooLarge());
        QVERIFY(!reader.takeHeaderLine(line));
        QVERIFY(reader.headerBlockTooLarge());
        QVERIFY(!reader.takeHeaderLine("\r\n")); // nothing more is taken
    }

    void statusLineWithoutDigits()
    {
        ReplyReader reader;
        QVERIFY(reader.takeHeaderLine("HTTP/1.1 2x0 OK\r\n"));
        QCOMPARE(reader.status(), 0);
    }

    void bodyUpToItsCap()
    {
        ReplyReader reader;
        const QByteArray piece(64 * 1024, 'a');
        for (int i = 0; i < 16; ++i)
            QVERIFY(reader.takeBody(piece)); // exactly the cap is not cut
        QCOMPARE(reader.body().size(), ReplyLimits::maxBodyBytes);
        QVERIFY(!reader.bodyCut());
        QVERIFY(!reader.takeBody("b"));
        QVERIFY(reader.bodyCut());
        QCOMPARE(reader.body().size(), ReplyLimits::maxBodyBytes);
    }

    void cutBodyEndsOnAWholeCharacter()
    {
        ReplyReader reader;
        QVERIFY(reader.takeBody(QByteArray(ReplyLimits::maxBodyBytes - 1, 'a')));
        QVERIFY(!reader.takeBody("\xe2\x82\xac"));
        QCOMPARE(reader.body().size(), ReplyLimits::maxBodyBytes - 1);
        QCOMPARE(ReplyReader::withoutBrokenTail("ab\xe2\x82"), QByteArray("ab"));
        QCOMPARE(ReplyReader::withoutBrokenTail("ab\xe2\x82\xac"), QByteArray("ab\xe2\x82\xac"));
        QCOMPARE(ReplyReader::withoutBrokenTail("ab\xf0\x9f\x98"), QByteArray("ab"));
        QCOMPARE(ReplyReader::withoutBrokenTail("abc"), QByteArray("abc"));
    }
};

QTEST_GUILESS_MAIN(ReplyReaderTest)
#include "tst_reply_reader.moc"
