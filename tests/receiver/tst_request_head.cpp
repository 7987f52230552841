// The exact bytes of each request's head on a raw socket, inside a private network namespace
// (d0 has 10.99.0.2): the request line, "Host", then the request's own headers in their order
// and letter case, and nothing else (no User-Agent, Accept-Encoding or Expect).
#include "NetnsShell.h"
#include "RawCaptureServer.h"
#include "RepliesInFlight.h"
#include "StdoutCapture.h"

#include "receiver/HDMITouchBack.h"
#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"
#include "receiver/TriggerCastingApp.h"
#include "receiver/UploadDataToHost.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

namespace {
const QByteArray kJsonHeaders = "Content-Type: application/json; charset=utf-8\r\n"
                                "Accept: application/json; charset=utf-8\r\n";
} // namespace

class RequestHeadTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(insideTestNamespace(), "run through with-netns-route"); }
    void cleanup() { QVERIFY(abortRepliesInFlight()); }

    void heartbeat()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.91"), 5000));
        int calls = 0;
        PingServer().pingServerHeartbeat(
            QStringLiteral("127.0.0.91"), [&calls](bool, const QString&) { ++calls; });
        QTRY_COMPARE(calls, 1);
        QCOMPARE(raw.requests().value(0),
            "GET /pingServerWithIP?ip=10.99.0.2&msg=ping HTTP/1.1\r\n"
            "Host: 127.0.0.91:5000\r\n"
                + kJsonHeaders + "\r\n");
    }

    void touchback()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.92"), 5000));
        HDMITouchBack().enableHDMITouchback(false, true, QStringLiteral("127.0.0.92"));
        QTRY_COMPARE(raw.requests().size(), 1);
        QCOMPARE(raw.requests().value(0),
            "GET /enableWifiTouchback?ip=10.99.0.2&enable=false&hidemenu=true&isHDMI=true "
            "HTTP/1.1\r\n"
            "Host: 127.0.0.92:5000\r\n"
                + kJsonHeaders + "\r\n");
    }

    void castTrigger()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.93"), 5000));
        StdoutCapture out;
        auto cast = TriggerCastingApp::create();
        QSignalSpy stored(cast.get(), &TriggerCastingApp::obtainedDeviceIPChanged);
        cast->triggerCastService(QStringLiteral("127.0.0.93"));
        QVERIFY(stored.wait(5000));
        QCOMPARE(raw.requests().value(0),
            "POST /ws HTTP/1.1\r\n"
            "Host: 127.0.0.93:5000\r\n"
                + kJsonHeaders
                + "Content-Length: 21\r\n"
                  "\r\n"
                  "{\"key\":\"ACTION_CAST\"}");
    }

    void upload()
    {
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.94"), 5505));
        StdoutCapture out;
        auto* upload = new UploadDataToHost;
        upload->initWithFileType(QStringLiteral("image/png"), UploadData::fromBytes("abc"),
            QStringLiteral("a.png"), QStringLiteral("127.0.0.94"));
        upload->upload();
        delete upload;
        QTRY_VERIFY(out.lines().contains("Successfully uploaded"));
        const QByteArray request = raw.requests().value(0);
        const auto boundary
            = QRegularExpression(QStringLiteral("boundary=(Boundary-[0-9A-F-]{36})\r\n"))
                  .match(QString::fromLatin1(request))
                  .captured(1)
                  .toLatin1();
        QCOMPARE(boundary.size(), 45);
        const QByteArray body = "--" + boundary
            + "\r\nContent-Disposition: form-data; name=\"my-file\"; filename=\"a.png\"\r\n"
              "Content-Type: image/png\r\n\r\nabc\r\n--"
            + boundary + "--\r\n";
        QCOMPARE(request,
            "POST /uploadfile HTTP/1.1\r\n"
            "Host: 127.0.0.94:5505\r\n"
            "Content-Type: multipart/form-data; boundary="
                + boundary + "\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\n"
                  "srcfilename: a.png\r\n"
                  "filetype: image/png\r\n"
                  "\r\n"
                + body);
    }
};

QTEST_GUILESS_MAIN(RequestHeadTest)
#include "tst_request_head.moc"
