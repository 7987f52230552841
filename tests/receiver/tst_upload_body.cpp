// The upload body pieces, the streaming body device and the printed descriptions.
#include "receiver/Describe.h"
#include "receiver/UploadBodyDevice.h"
#include "receiver/UploadData.h"
#include "receiver/UploadDataToHost.h"

#include <QBuffer>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QTest>

class UploadBodyTest : public QObject
{
    Q_OBJECT

private slots:
    void boundaryIsFreshAndUpperCase()
    {
        const QString a = UploadDataToHost::makeBoundary();
        const QString b = UploadDataToHost::makeBoundary();
        QCOMPARE(a.size(), 45);
        QVERIFY(QRegularExpression(
            QStringLiteral(
                "^Boundary-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"))
                    .match(a)
                    .hasMatch());
        QVERIFY(a != b);
    }

    void headRowsForPhoto()
    {
        const QString boundary = QStringLiteral("Boundary-0");
        const QByteArray head = UploadDataToHost::bodyHead(std::nullopt, QStringLiteral("my-file"),
            QStringLiteral("photo.png"), boundary, QStringLiteral("image/png"));
        const QList<QByteArray> rows = head.split('\n');
        QCOMPARE(rows[0], QByteArray("--Boundary-0\r"));
        const QByteArray row2
            = "Content-Disposition: form-data; name=\"my-file\"; filename=\"photo.png\"\r\n";
        QCOMPARE(row2.size(), 70);
        QCOMPARE(head, "--Boundary-0\r\n" + row2 + "Content-Type: image/png\r\n\r\n");
        QCOMPARE(UploadDataToHost::bodyTail(boundary), QByteArray("\r\n--Boundary-0--\r\n"));
    }

    void nameAndTypeAreNotEscaped()
    {
        const QByteArray head = UploadDataToHost::bodyHead(std::nullopt, QStringLiteral("my-file"),
            QStringLiteral("a\"b é.png"), QStringLiteral("B"), QStringLiteral("image/png"));
        QVERIFY(head.contains("filename=\"a\"b \xc3\xa9.png\"\r\n"));
    }

    void parametersComeFirst()
    {
        const QMap<QString, QString> parameters {{QStringLiteral("k"), QStringLiteral("v")}};
        const QByteArray head = UploadDataToHost::bodyHead(parameters, QStringLiteral("f"),
            QStringLiteral("n"), QStringLiteral("B"), QStringLiteral("t"));
        QCOMPARE(head,
            QByteArray("--B\r\nContent-Disposition: form-data; name=\"k\"\r\n\r\nv\r\n"
                       "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"n\"\r\n"
                       "Content-Type: t\r\n\r\n"));
    }

    void deviceStreamsHeadFileTail_data()
    {
        QTest::addColumn<int>("chunk");
        QTest::newRow("1") << 1;
        QTest::newRow("7") << 7;
        QTest::newRow("16 KiB") << 16384;
        QTest::newRow("1 MiB") << (1 << 20);
    }

    void deviceStreamsHeadFileTail()
    {
        QFETCH(int, chunk);
        QByteArray content(100000, Qt::Uninitialized);
        for (int i = 0; i < content.size(); ++i)
            content[i] = char(i * 31);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write(content);
        file.flush();
        const auto data = UploadData::fromFile(file.fileName());
        QVERIFY(data);
        QVERIFY(data->isFileBacked());
        QCOMPARE(data->size(), content.size());
        UploadBodyDevice device(
            "HEAD", std::unique_ptr<QIODevice>(data->openDevice()), data->size(), "TAIL");
        QVERIFY(!device.isSequential());
        QCOMPARE(device.size(), content.size() + 8);
        QByteArray read;
        while (true) {
            const QByteArray piece = device.read(chunk);
            if (piece.isEmpty())
                break;
            read += piece;
        }
        QVERIFY(read == "HEAD" + content + "TAIL");
        QVERIFY(device.atEnd());
        char byte;
        QCOMPARE(device.read(&byte, 1), qint64(-1)); // the end, so the network layer stops
        QVERIFY(device.seek(2));
        QCOMPARE(device.read(6), QByteArray("AD") + content.left(4));
        QVERIFY(device.seek(4 + content.size() - 1));
        QCOMPARE(device.readAll(), content.right(1) + "TAIL");
    }

    void inMemoryData()
    {
        const UploadData data = UploadData::fromBytes("abc");
        QVERIFY(!data.isFileBacked());
        QCOMPARE(data.size(), 3);
        std::unique_ptr<QIODevice> device(data.openDevice());
        QCOMPARE(device->readAll(), QByteArray("abc"));
    }

    void descriptions()
    {
        QCOMPARE(Describe::optionalText(QStringLiteral("OK")), QStringLiteral("Optional(\"OK\")"));
        QCOMPARE(Describe::optionalText(std::nullopt), QStringLiteral("nil"));
        QCOMPARE(Describe::optional(Describe::bytes(21)), QStringLiteral("Optional(21 bytes)"));
        QCOMPARE(Describe::headers({{"A", "1"}, {"B", "x\"y"}}),
            QStringLiteral("[\"A\": \"1\", \"B\": \"x\\\"y\"]"));
        QCOMPARE(Describe::optionalResponse(nullptr), QStringLiteral("nil"));
        // Control characters and apostrophes are escaped, so one description stays one line.
        QCOMPARE(
            Describe::optionalText(QStringLiteral("{}\n")), QStringLiteral("Optional(\"{}\\n\")"));
        QCOMPARE(Describe::optionalText(QStringLiteral("it's\t\r\\")),
            QStringLiteral("Optional(\"it\\'s\\t\\r\\\\\")"));
        QCOMPARE(Describe::optionalText(QString(QChar(0x1b)) + QChar(0) + QStringLiteral("é")),
            QStringLiteral("Optional(\"\\u{1B}\\0é\")"));
    }
};

QTEST_GUILESS_MAIN(UploadBodyTest)
#include "tst_upload_body.moc"
