// The packaged fonts and images: every name the screens use is there, and each image draws
// something at 1x and at 2x.
#include "platform/Fonts.h"
#include "platform/ImageAssets.h"

#include <QFontDatabase>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTest>

class TestAssets : public QObject
{
    Q_OBJECT

    static int paintedPixels(const QString& name, const QSize& logical, qreal ratio)
    {
        const QImage image = ImageAssets::pixmap(name, logical, ratio).toImage();
        int painted = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                painted += qAlpha(image.pixel(x, y)) > 0;
        return painted;
    }

private Q_SLOTS:
    // Runs before anything registers all of them: a screen reads only the fonts it names.
    void aFontIsRegisteredWhenFirstNamed()
    {
        if (QFontDatabase::families().contains(QStringLiteral("Poppins Medium")))
            QSKIP("Poppins is installed on this system");
        const QFont font = Fonts::named(QStringLiteral("Poppins-SemiBold"), 16);
        const QStringList families = QFontDatabase::families();
        QVERIFY(families.contains(QStringLiteral("Poppins SemiBold")));
        QCOMPARE(QFontInfo(font).family(), QStringLiteral("Poppins SemiBold"));
        QVERIFY(!families.contains(QStringLiteral("Poppins Medium")));
        QVERIFY(!families.contains(QStringLiteral("Poppins")));
    }

    void fontsAreFamiliesOfTheirOwn()
    {
        Fonts::loadApplicationFonts();
        const QStringList families = QFontDatabase::families();
        for (const char* name :
            {"Poppins-Regular", "Poppins-Medium", "Poppins-SemiBold", "Poppins-ExtraLight"}) {
            const QString family = Fonts::familyFor(QString::fromLatin1(name));
            QVERIFY2(families.contains(family), name);
            QCOMPARE(QFontInfo(Fonts::named(QString::fromLatin1(name), 16)).family(), family);
        }
    }

    void imagesDrawAtOneAndTwoTimes_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : {"radioIcon", "connectedChain", "fileUploadGrid",
                 "fileUploadGridActive", "castingInactive", "castingActive", "uploadArrow",
                 "uploadArrowActive", "splashArtwork", "emptyState", "settingsGear", "appIcon"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void imagesDrawAtOneAndTwoTimes()
    {
        QFETCH(QString, name);
        QVERIFY(ImageAssets::exists(name));
        QCOMPARE(ImageAssets::path(name), QStringLiteral(":/images/%1.svg").arg(name));
        const QSvgRenderer renderer(ImageAssets::path(name));
        QVERIFY(renderer.isValid());
        const QSize size = renderer.defaultSize();
        const int one = paintedPixels(name, size, 1.0);
        const int two = paintedPixels(name, size, 2.0);
        QVERIFY(one > 0);
        // Drawn anew at twice the pixels, not scaled up from 1x.
        QVERIFY2(two > 3 * one, qPrintable(QStringLiteral("%1 vs %2").arg(one).arg(two)));
    }
};

QTEST_MAIN(TestAssets)
#include "tst_assets.moc"
