// File upload requests against receiver-sim and a raw capture on real sockets, inside a private
// network namespace (see tests/support/with-netns-route).
#include "AlertRecorder.h"
#include "DrainMainQueue.h"
#include "LogCapture.h"
#include "NetnsShell.h"
#include "RawCaptureServer.h"
#include "RepliesInFlight.h"
#include "SimProcess.h"
#include "StdoutCapture.h"

#include "receiver/ReceiverSession.h"
#include "receiver/UploadDataToHost.h"

#include <QCryptographicHash>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const AlertRecorder::Alert kServerError {
    QStringLiteral("Failure"), QStringLiteral("Server error while uploading. Please try again.")};
const AlertRecorder::Alert kFailed {
    QStringLiteral("Failure"), QStringLiteral("File Upload failed.")};

void startUpload(const std::optional<UploadData>& data, const QString& name, const QString& type,
    const QString& address)
{
    auto* upload = new UploadDataToHost;
    upload->initWithFileType(type, data, name, address);
    upload->upload();
    delete upload; // dropped at once, as the upload flow does
}

QByteArray expectedBody(const QByteArray& boundary, const QByteArray& name, const QByteArray& type,
    const QByteArray& content)
{
    return "--" + boundary + "\r\n"
        + "Content-Disposition: form-data; name=\"my-file\"; filename=\"" + name + "\"\r\n"
        + "Content-Type: " + type + "\r\n\r\n" + content + "\r\n--" + boundary + "--\r\n";
}

QByteArray headerValue(const QByteArray& raw, const QByteArray& name)
{
    for (const QByteArray& line : RawCaptureServer::headerLines(raw))
        if (line.toLower().startsWith(name.toLower() + ":"))
            return line.mid(name.size() + 1).trimmed();
    return {};
}

QByteArray boundaryOf(const QByteArray& raw)
{
    static const QRegularExpression re(QStringLiteral("boundary=(Boundary-[0-9A-F-]{36})$"));
    const auto match = re.match(QString::fromLatin1(headerValue(raw, "Content-Type")));
    return match.hasMatch() ? match.captured(1).toLatin1() : QByteArray();
}

} // namespace

class UploadRequestTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString writeFile(const QString& name, const QByteArray& content)
    {
        QFile file(m_dir.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return file.fileName();
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        QCOMPARE(ReceiverSession::shared()->transferTimeout(), 60000);
    }

    void cleanup() { QVERIFY(abortRepliesInFlight()); }

    void bodyBytesOnTheWire_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("fromFile");
        QTest::newRow("empty, memory") << QByteArray() << false;
        QTest::newRow("empty, file") << QByteArray() << true;
        QTest::newRow("small, memory")
            << QByteArray("\x89PNG\r\n\x1a\n-- not a boundary\r\n") << false;
        QTest::newRow("small, file")
            << QByteArray("\x89PNG\r\n\x1a\n-- not a boundary\r\n") << true;
        QByteArray big(3 * 1024 * 1024 + 17, Qt::Uninitialized);
        QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(big.data()), big.size() / 4);
        QTest::newRow("3 MiB, memory") << big << false;
        QTest::newRow("3 MiB, file") << big << true;
    }

    void bodyBytesOnTheWire()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, fromFile);
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.21"), 5505));
        const auto data = fromFile
            ? UploadData::fromFile(writeFile(QStringLiteral("photo.png"), content))
            : std::optional(UploadData::fromBytes(content));
        QVERIFY(data);
        StdoutCapture out;
        AlertRecorder alerts;
        startUpload(data, QStringLiteral("photo.png"), QStringLiteral("image/png"),
            QStringLiteral("127.0.0.21"));
        QTRY_VERIFY_WITH_TIMEOUT(out.lines().contains("Successfully uploaded"), 20000);
        QVERIFY(alerts.alerts().isEmpty());
        const QByteArray request = raw.requests().value(0);
        QVERIFY2(request.startsWith("POST /uploadfile HTTP/1.1\r\n"), request.left(200));
        const QByteArray boundary = boundaryOf(request);
        QCOMPARE(boundary.size(), 45);
        const QByteArray body = expectedBody(boundary, "photo.png", "image/png", content);
        QVERIFY(RawCaptureServer::body(request) == body);
        // On the wire the true body length; the declared file size stays in the printed record.
        QCOMPARE(headerValue(request, "Content-Length"), QByteArray::number(body.size()));
        QCOMPARE(headerValue(request, "srcfilename"), QByteArray("photo.png"));
        QCOMPARE(headerValue(request, "filetype"), QByteArray("image/png"));
        QCOMPARE(out.lines().value(0), QByteArray("Uploading..."));
        QCOMPARE(out.lines().value(1),
            "request: Optional([\"Content-Type\": \"multipart/form-data; boundary=" + boundary
                + "\", \"Content-Length\": \"" + QByteArray::number(content.size())
                + "\", \"srcfilename\": \"photo.png\", \"filetype\": \"image/png\"]) Optional("
                + QByteArray::number(body.size()) + ")");
        QVERIFY(out.lines().value(2).startsWith(
            "Optional(<HTTPURLResponse: URL: http://127.0.0.21:5505/uploadfile, status code: "
            "200,"));
        // The four headers keep their order.
        const auto lines = RawCaptureServer::headerLines(request);
        auto at = [&](const QByteArray& name) {
            for (qsizetype i = 0; i < lines.size(); ++i)
                if (lines[i].startsWith(name + ":"))
                    return i;
            return qsizetype(-1);
        };
        QVERIFY(at("Content-Type") >= 0);
        QVERIFY(at("Content-Type") < at("Content-Length"));
        QVERIFY(at("Content-Length") < at("srcfilename"));
        QCOMPARE(lines.count("Content-Length: " + QByteArray::number(body.size())), 1);
        QVERIFY(at("srcfilename") < at("filetype"));
    }

    void receiverGetsTheWholeFile()
    {
        SimProcess sim(QStringLiteral("127.0.0.22"));
        QVERIFY(sim.isReady());
        QByteArray content(1024 * 1024 + 3, 'x');
        content.replace(500, 8, "\r\n--Boun");
        const QString path = writeFile(QStringLiteral("report one.pdf"), content);
        StdoutCapture out;
        startUpload(UploadData::fromFile(path), QStringLiteral("report one.pdf"),
            QStringLiteral("application/pdf"), QStringLiteral("127.0.0.22"));
        startUpload(UploadData::fromBytes(content), QStringLiteral("report one.pdf"),
            QStringLiteral("application/pdf"), QStringLiteral("127.0.0.22"));
        QVERIFY(sim.waitForRequests(2));
        const auto requests = sim.requests();
        QByteArrayList boundaries;
        for (const QJsonObject& request : requests) {
            const QJsonObject upload = request["upload"].toObject();
            QVERIFY2(upload["ok"].toBool(), qPrintable(upload["error"].toString()));
            QCOMPARE(upload["fileLength"].toInteger(), content.size());
            QCOMPARE(upload["field"].toString(), QStringLiteral("my-file"));
            QCOMPARE(upload["filename"].toString(), QStringLiteral("report one.pdf"));
            QCOMPARE(upload["contentType"].toString(), QStringLiteral("application/pdf"));
            const auto headers = loggedHeaders(request);
            for (const auto& [name, value] : headers)
                if (name == QLatin1String("Content-Type"))
                    boundaries << value.section(QStringLiteral("boundary="), 1).toLatin1();
            const QByteArray body
                = expectedBody(boundaries.last(), "report one.pdf", "application/pdf", content);
            QCOMPARE(request["bodyLength"].toInteger(), body.size());
            QCOMPARE(request["sha256"].toString().toLatin1(),
                QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex());
        }
        QCOMPARE(boundaries.size(), 2);
        QVERIFY(boundaries[0] != boundaries[1]);
        QFile stored(sim.uploadDir() + QStringLiteral("/report one.pdf"));
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QVERIFY(stored.readAll() == content);
        // The declared length printed is the file's size, never the body's.
        QTRY_COMPARE(out.lines().count("Successfully uploaded"), 2);
        for (const QByteArray& line : out.lines())
            if (line.startsWith("request: "))
                QVERIFY(line.contains(
                    "\"Content-Length\": \"" + QByteArray::number(content.size()) + "\""));
    }

    void answers_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("alerted");
        QTest::addColumn<bool>("serverError");
        QTest::newRow("200") << 200 << false << false;
        QTest::newRow("500") << 500 << true << true;
        QTest::newRow("404") << 404 << true << false;
        QTest::newRow("503") << 503 << true << false;
        QTest::newRow("201") << 201 << true << false;
    }

    void answers()
    {
        QFETCH(int, status);
        QFETCH(bool, alerted);
        QFETCH(bool, serverError);
        SimProcess sim(QStringLiteral("127.0.0.23"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("answer /uploadfile " + QByteArray::number(status) + " whatever")
                    .startsWith("ok"));
        StdoutCapture out;
        AlertRecorder alerts;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        startUpload(UploadData::fromBytes("abc"), QStringLiteral("a.png"),
            QStringLiteral("image/png"), QStringLiteral("127.0.0.23"));
        QVERIFY(finished.wait(10000));
        if (alerted) {
            QTRY_COMPARE(alerts.alerts().size(), 1);
            QCOMPARE(alerts.alerts()[0], serverError ? kServerError : kFailed);
        } else {
            QCoreApplication::processEvents();
            QVERIFY(alerts.alerts().isEmpty());
        }
        QCOMPARE(out.lines().contains("Successfully uploaded"), status == 200);
        QVERIFY(
            out.lines().value(2).contains(", status code: " + QByteArray::number(status) + ","));
    }

    void refusedOrTimedOutIsSilent()
    {
        SimProcess sim(QStringLiteral("127.0.0.24"));
        QVERIFY(sim.isReady());
        QVERIFY(sim.command("silent /uploadfile").startsWith("ok"));
        ReceiverSession::setTransferTimeoutForTesting(300);
        const auto restore = qScopeGuard([] { ReceiverSession::setTransferTimeoutForTesting(0); });
        StdoutCapture out;
        AlertRecorder alerts;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        startUpload(UploadData::fromBytes("abc"), QStringLiteral("a.png"),
            QStringLiteral("image/png"),
            QStringLiteral("127.0.0.24")); // held, times out
        startUpload(UploadData::fromBytes("abc"), QStringLiteral("a.png"),
            QStringLiteral("image/png"),
            QStringLiteral("127.0.0.25")); // refused
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 2, 10000);
        QVERIFY(drainMainQueue()); // an alert would have been queued by now
        QVERIFY(alerts.alerts().isEmpty());
        QTRY_COMPARE(sim.requests().size(), 1);
        QCOMPARE(out.lines().size(), 4); // "Uploading..." and the request line, twice
        QCOMPARE(out.lines().count("Uploading..."), 2);
    }

    void unparsableUrlSendsNothing()
    {
        StdoutCapture out;
        AlertRecorder alerts;
        QSignalSpy finished(ReceiverSession::shared(), &ReceiverHttpClient::finished);
        startUpload(UploadData::fromBytes("abc"), QStringLiteral("a.png"),
            QStringLiteral("image/png"), QStringLiteral("127.0.0 .26"));
        QCOMPARE(out.lines(), QByteArrayList {"Uploading..."});
        startUpload(UploadData::fromBytes("abc"), QStringLiteral("a.png"),
            QStringLiteral("image/png"), QStringLiteral("127.0.0.26"));
        QVERIFY(finished.wait(5000));
        QCOMPARE(finished.count(), 1);
    }

    void lineBreakInAHeaderValueIsRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::newRow("name") << "a.png\r\nX-Evil: 1"
                              << "image/png";
        QTest::newRow("type") << "a.png"
                              << "image/png\nX-Evil: 1";
    }

    void lineBreakInAHeaderValueIsRefused()
    {
        QFETCH(QString, name);
        QFETCH(QString, type);
        RawCaptureServer raw;
        QVERIFY(raw.listenOn(QStringLiteral("127.0.0.27"), 5505));
        AlertRecorder alerts;
        LogCapture log;
        const qsizetype before = repliesInFlight();
        startUpload(UploadData::fromBytes("abc"), name, type, QStringLiteral("127.0.0.27"));
        QCOMPARE(repliesInFlight(), before); // nothing went out
        QTRY_COMPARE(alerts.alerts().size(), 1);
        QCOMPARE(alerts.alerts()[0], kFailed);
        QCOMPARE(raw.requests().size(), 0);
        QVERIFY(log.messages("orventa.receiver")
                    .join(QLatin1Char('\n'))
                    .contains(QStringLiteral("line break")));
    }

    void unreadableFileGivesNoData()
    {
        QVERIFY(!UploadData::fromFile(m_dir.filePath(QStringLiteral("missing.png"))));
        QVERIFY(!UploadData::fromFile(QString()));
    }
};

QTEST_MAIN(UploadRequestTest)
#include "tst_upload_request.moc"
