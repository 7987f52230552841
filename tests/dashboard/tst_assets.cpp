// The packaged fonts and images: every name the screens use is there, and every image in the
// resources draws something at 1x and at 2x, both painted directly and through QIcon as the
// window's header buttons and window icon use it (QIcon needs Qt's SVG icon engine, a plugin
// that Debian 13 packages apart from the SVG library: without it icons come out empty).
#include "platform/Fonts.h"
#include "platform/ImageAssets.h"

#include <QDir>
#include <QFileInfo>
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
        return paintedPixels(ImageAssets::pixmap(name, logical, ratio).toImage());
    }

    static int paintedPixels(const QImage& image)
    {
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

    void namesTheScreensUseAreThere()
    {
        for (const char* name : {"radioIcon", "connectedChain", "fileUploadGrid",
                 "fileUploadGridActive", "castingInactive", "castingActive", "uploadArrow",
                 "uploadArrowActive", "splashArtwork", "emptyState", "settingsGear", "appIcon"})
            QVERIFY2(ImageAssets::exists(QString::fromLatin1(name)), name);
    }

    // Every image in the resources, so that one added later is checked too.
    static void addImageRows()
    {
        QTest::addColumn<QString>("name");
        const QStringList files = QDir(QStringLiteral(":/images")).entryList(QDir::Files);
        QVERIFY(files.size() >= 12);
        for (const QString& file : files)
            QTest::newRow(qPrintable(file)) << QFileInfo(file).completeBaseName();
    }

    void imagesDrawAtOneAndTwoTimes_data() { addImageRows(); }
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

    void iconsDrawAtOneAndTwoTimes_data() { addImageRows(); }
    void iconsDrawAtOneAndTwoTimes()
    {
        QFETCH(QString, name);
        const QIcon icon = ImageAssets::icon(name);
        const char* hint
            = "no icon: is Qt's SVG icon engine (iconengines/libqsvgicon.so) installed?";
        QVERIFY2(!icon.isNull(), hint);
        const QSize size(32, 32);
        const int one = paintedPixels(icon.pixmap(size, 1.0).toImage());
        const int two = paintedPixels(icon.pixmap(size, 2.0).toImage());
        QVERIFY2(one > 0, hint);
        // Thin strokes cover less than four times the pixels at twice the size.
        QVERIFY2(two > 2 * one, qPrintable(QStringLiteral("%1 vs %2").arg(one).arg(two)));
    }
};

QTEST_MAIN(TestAssets)
#include "tst_assets.moc"
