// The upload flow against the receiver simulator: the file type rules, the half-second delay,
// the open panel (through its test chooser), the refusal for receivers without uploads, and the
// drop area's feedback.
#include "SessionFixture.h"

#include "controls/DragDropView.h"
#include "dashboard/AssetImageView.h"
#include "platform/ModalState.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QUrl>

using namespace session_test;
using namespace std::chrono_literals;

namespace {
const AlertRecorder::Alert kCannotUpload {QStringLiteral("Cannot upload"),
    QStringLiteral("File upload feature is not available for your device.")};

const QStringList kAllowedTypes {QStringLiteral("png"), QStringLiteral("jpg"),
    QStringLiteral("jpeg"), QStringLiteral("psd"), QStringLiteral("svg"), QStringLiteral("gof"),
    QStringLiteral("mp3"), QStringLiteral("mov"), QStringLiteral("mp4"), QStringLiteral("doc"),
    QStringLiteral("docx"), QStringLiteral("ppt"), QStringLiteral("pptx"), QStringLiteral("pdf"),
    QStringLiteral("key"), QStringLiteral("pps"), QStringLiteral("xls"), QStringLiteral("xlsx")};

QString header(const QJsonObject& request, const QString& name)
{
    for (const auto& [key, value] : loggedHeaders(request))
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    return {};
}
} // namespace

class TestSessionUpload : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimProcess> m_sim;
    QTemporaryDir m_files;
    std::unique_ptr<AlertRecorder> m_alerts;
    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<DashboardViewController> m_dashboard;

    DashboardViewController& d() { return *m_dashboard; }
    int uploads() const { return int(requestsTo(*m_sim, QStringLiteral("/uploadfile")).size()); }
    QJsonObject lastUpload() const
    {
        return requestsTo(*m_sim, QStringLiteral("/uploadfile")).constLast();
    }
    QString makeFile(const QString& name, const QByteArray& content)
    {
        const QString path = m_files.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            return {};
        return path;
    }
    // The stored copy at the receiver equals the file, byte for byte.
    void verifyStoredCopy(const QJsonObject& request, const QByteArray& content)
    {
        const QJsonObject upload = request.value(QStringLiteral("upload")).toObject();
        QVERIFY2(upload.value(QStringLiteral("ok")).toBool(),
            qPrintable(upload.value("error").toString()));
        QFile stored(upload.value(QStringLiteral("storedAs")).toString());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), content);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(insideTestNamespace(), "run through tests/support/with-netns-route");
        QVERIFY(m_files.isValid());
        setUpApplication();
        m_sim = std::make_unique<SimProcess>(kReceiverIp);
        QVERIFY(m_sim->isReady());
    }
    void init()
    {
        m_alerts = std::make_unique<AlertRecorder>();
        m_log = std::make_unique<LogCapture>();
        m_dashboard = makeDashboard();
        d().didPickCastingDeviceWithIP(kReceiverIp, kReceiverHex, kReceiverName);
    }
    void cleanup()
    {
        DashboardViewController::setOpenPanelForTesting({});
        m_dashboard.reset();
        m_log.reset();
        m_alerts.reset();
    }

    void fileTypeFromTheName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::newRow("case kept, in no list") << "Photo.PNG"
                                               << "(null)/PNG";
        QTest::newRow("last piece only") << "archive.tar.gz"
                                         << "(null)/gz";
        QTest::newRow("mp3 is a video") << "movie.mp3"
                                        << "video/mp3";
        QTest::newRow("gof is an image") << "scan.gof"
                                         << "image/gof";
        QTest::newRow("gif is nothing") << "anim.gif"
                                        << "(null)/gif";
        QTest::newRow("document") << "slides.pptx"
                                  << "document/pptx";
        QTest::newRow("no dot") << "README"
                                << "(null)/README";
        QTest::newRow("final dot") << "notes."
                                   << "(null)/";
    }
    void fileTypeFromTheName()
    {
        QFETCH(QString, name);
        QFETCH(QString, type);
        const QByteArray content = "content of " + name.toUtf8() + QByteArray(1000, '\x01');
        const QString path = makeFile(name, content);
        const int before = uploads();
        d().uploadFileURL(QUrl::fromLocalFile(path));
        QTRY_COMPARE(uploads(), before + 1);
        const QJsonObject request = lastUpload();
        QCOMPARE(header(request, QStringLiteral("filetype")), type);
        QCOMPARE(header(request, QStringLiteral("srcfilename")), name);
        verifyStoredCopy(request, content);
        const QStringList lines = m_log->messages("orventa.dashboard");
        QVERIFY(lines.contains(QStringLiteral("File name ") + name));
        QVERIFY(lines.contains(QStringLiteral("File extension ") + type.section(u'/', 1)));
        QVERIFY(lines.contains(QStringLiteral("File type ") + type));
    }

    void uploadStartsHalfASecondLater()
    {
        const QString path = makeFile(QStringLiteral("later.png"), QByteArray(64, 'p'));
        const int before = uploads();
        QElapsedTimer clock;
        clock.start();
        d().uploadFileWithURL(QUrl::fromLocalFile(path));
        QVERIFY(
            !m_log->messages("orventa.dashboard").contains(QStringLiteral("File name later.png")));
        QTRY_VERIFY(
            m_log->messages("orventa.dashboard").contains(QStringLiteral("File name later.png")));
        QVERIFY2(clock.elapsed() >= 490, qPrintable(QString::number(clock.elapsed())));
        QTRY_COMPARE(uploads(), before + 1);
    }

    void largeFileStreamsByteForByte()
    {
        QByteArray content(8 * 1024 * 1024, Qt::Uninitialized);
        for (qsizetype i = 0; i < content.size(); ++i)
            content[i] = char((i * 7919) >> 3);
        const QString path = makeFile(QStringLiteral("video.mp4"), content);
        const int before = uploads();
        StdoutCapture printed;
        d().uploadFileURL(QUrl::fromLocalFile(path));
        QTRY_COMPARE_WITH_TIMEOUT(uploads(), before + 1, 20000);
        // The declared length is the file's own size; the wire carries the true body length.
        QCOMPARE(countStartingWith(printed.lines(), "request: "), 1);
        const QByteArray request = *std::find_if(printed.lines().begin(), printed.lines().end(),
            [](const QByteArray& line) { return line.startsWith("request: "); });
        QVERIFY(request.contains("\"Content-Length\": \"8388608\""));
        QCOMPARE(header(lastUpload(), QStringLiteral("filetype")), QStringLiteral("video/mp4"));
        verifyStoredCopy(lastUpload(), content);
    }

    void openPanelChoosesOneFile()
    {
        const QByteArray content("%PDF-1.4 chosen");
        const QString path = makeFile(QStringLiteral("chosen.pdf"), content);
        QString directory;
        QStringList types;
        bool modal = false;
        DashboardViewController::setOpenPanelForTesting(
            [&](const QString& dir, const QStringList& allowed) -> std::optional<QString> {
                directory = dir;
                types = allowed;
                modal = ModalState::isActive();
                return path;
            });
        const int before = uploads();
        d().uploadFileAction();
        QCOMPARE(directory, QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
        QCOMPARE(types, kAllowedTypes);
        QVERIFY(modal);
        QVERIFY(
            m_log->messages("orventa.dashboard").contains(QUrl::fromLocalFile(path).toString()));
        QTRY_COMPARE(uploads(), before + 1);
        QCOMPARE(header(lastUpload(), QStringLiteral("filetype")), QStringLiteral("document/pdf"));
        verifyStoredCopy(lastUpload(), content);
    }

    void cancelledPanelSendsNothing()
    {
        DashboardViewController::setOpenPanelForTesting(
            [](const QString&, const QStringList&) { return std::optional<QString>(); });
        const int before = uploads();
        d().uploadFileAction();
        QTest::qWait(700); // past the half-second delay
        QCOMPARE(uploads(), before);
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void receiverWithoutUploadsRefuses()
    {
        d().didPickCastingDeviceWithIP(
            kReceiverIp, kReceiverHex, QStringLiteral("Room Quorvi-Pro 2"));
        QVERIFY(!d().isFileUploadEnabled());
        bool panelShown = false;
        DashboardViewController::setOpenPanelForTesting([&](const QString&, const QStringList&) {
            panelShown = true;
            return std::optional<QString>();
        });
        const int before = uploads();
        d().uploadFileAction();
        d().uploadFileURL(QUrl::fromLocalFile(makeFile(QStringLiteral("x.png"), "x")));
        QCOMPARE(m_alerts->alerts(), (QList<AlertRecorder::Alert> {kCannotUpload, kCannotUpload}));
        QVERIFY(!panelShown);
        d().draggingBegin();
        QCOMPARE(d().fileUploadView()->layerContents(), QStringLiteral("fileUploadGrid"));
        QCOMPARE(d().uploadArrowImage()->assetName(), QStringLiteral("uploadArrow"));
        QTest::qWait(700);
        QCOMPARE(uploads(), before);
    }

    void dragFeedbackAndBringingToFront()
    {
        QWidget other;
        other.resize(200, 100);
        other.show();
        other.activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &other);

        d().draggingBegin();
        QCOMPARE(d().fileUploadView()->layerContents(), QStringLiteral("fileUploadGridActive"));
        QCOMPARE(d().uploadArrowImage()->assetName(), QStringLiteral("uploadArrowActive"));
        d().draggingInprogress();
        QCOMPARE(d().fileUploadView()->layerContents(), QStringLiteral("fileUploadGridActive"));
        QElapsedTimer clock;
        clock.start();
        d().draggingFinished();
        QCOMPARE(d().fileUploadView()->layerContents(), QStringLiteral("fileUploadGrid"));
        QCOMPARE(d().uploadArrowImage()->assetName(), QStringLiteral("uploadArrow"));
        QTRY_COMPARE(QApplication::activeWindow(), d().window());
        QVERIFY2(clock.elapsed() >= 490, qPrintable(QString::number(clock.elapsed())));
    }
};

QTEST_MAIN(TestSessionUpload)
#include "tst_session_upload.moc"
