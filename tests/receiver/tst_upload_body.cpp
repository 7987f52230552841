// The upload body pieces, the upload data and the printed descriptions.
#include "receiver/Describe.h"
#include "receiver/UploadData.h"
#include "receiver/UploadDataToHost.h"

#include <QBuffer>
#include <QRegularExpression>
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
