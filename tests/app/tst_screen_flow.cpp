// The window's screens under a real X server: the splash and its timed step, the popovers and
// where they open, the settings, and screenshots of each screen.
#include "AlertRecorder.h"
#include "FakeServiceBrowser.h"
#include "LogCapture.h"

#include "app/MainStoryboard.h"
#include "app/MainWindow.h"
#include "app/SplashScreenViewController.h"
#include "app/Storyboard.h"
#include "app/ZentrixSettingsViewController.h"
#include "controls/LayerView.h"
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "dashboard/PopoverWindow.h"
#include "discovery/DeviceTableView.h"
#include "discovery/DevicesListViewController.h"
#include "platform/Fonts.h"

#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QToolButton>

namespace {
// Loopback receivers: the list decodes the address from the code (7f000005 is 127.0.0.5).
const QString kRoom12 = QStringLiteral("Brevik-X1|Room 12|7f000005");
const QString kBoardRoom = QStringLiteral("Brevik-X2|Board Room|7f000006");

QString artifact(const QString& name)
{
    const QString dir = QStringLiteral(ORVENTA_TEST_ARTIFACTS_DIR "/screens");
    QDir().mkpath(dir);
    return dir + QLatin1Char('/') + name;
}

// What the X server shows in the window's area, popovers included.
void screenshot(QWidget* window, const QString& name)
{
    QCoreApplication::processEvents();
    QTest::qWait(150); // let the X server finish drawing what Qt sent it
    const QRect area(window->mapToGlobal(QPoint(0, 0)), window->size());
    const QPixmap shot
        = window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    QVERIFY(!shot.isNull());
    QVERIFY(shot.save(artifact(name)));
}

// What an icon paints at 32x32: nothing when Qt's SVG icon engine is missing.
int paintedPixels(const QIcon& icon)
{
    const QImage image = icon.pixmap(QSize(32, 32)).toImage();
    int painted = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            painted += qAlpha(image.pixel(x, y)) > 0;
    return painted;
}
} // namespace

class TestScreenFlow : public QObject
{
    Q_OBJECT

    std::unique_ptr<MainWindow> m_window;

    DashboardViewController* showDashboard()
    {
        m_window = std::make_unique<MainWindow>();
        m_window->move(0, 0);
        auto* dashboard = qobject_cast<DashboardViewController*>(
            Storyboard::named(QStringLiteral("Main"))
                .instantiateControllerWithIdentifier(
                    QStringLiteral("DashboardViewController"), m_window.get()));
        m_window->setContentViewController(dashboard);
        m_window->show();
        if (!QTest::qWaitForWindowExposed(m_window.get()))
            return nullptr;
        m_window->activateWindow();
        (void)QTest::qWaitForWindowActive(m_window.get(), 1000);
        return dashboard;
    }
    static PopoverWindow* popover(DashboardViewController* d, QWidget* controller)
    {
        return qobject_cast<PopoverWindow*>(d->popoverFor(controller));
    }
    static void verifyBelow(PopoverWindow* p, QToolButton* icon)
    {
        // Opens just below the icon's bottom edge, the arrow pointing at the icon's centre.
        const QPoint iconBottom = icon->mapToGlobal(QPoint(icon->width() / 2, icon->height()));
        const QPoint tip = p->mapToGlobal(QPoint(p->arrowX(), 0));
        QVERIFY2(qAbs(tip.y() - iconBottom.y()) <= 3,
            qPrintable(QStringLiteral("tip %1, icon bottom %2").arg(tip.y()).arg(iconBottom.y())));
        QVERIFY(qAbs(tip.x() - iconBottom.x()) <= 1);
        QVERIFY(p->geometry().top() > icon->mapToGlobal(QPoint(0, 0)).y());
    }

private Q_SLOTS:
    void initTestCase()
    {
        Fonts::loadApplicationFonts();
        MainStoryboard::registerControllers();
        FakeServiceBrowser::install();
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void cleanup() { m_window.reset(); }

    void storyboardMakesTheThreeScreens()
    {
        Storyboard& main = Storyboard::named(QStringLiteral("Main"));
        QWidget parent;
        QVERIFY(qobject_cast<DashboardViewController*>(main.instantiateControllerWithIdentifier(
            QStringLiteral("DashboardViewController"), &parent)));
        QVERIFY(qobject_cast<DevicesListViewController*>(main.instantiateControllerWithIdentifier(
            QStringLiteral("DevicesListController"), &parent)));
        QVERIFY(
            qobject_cast<ZentrixSettingsViewController*>(main.instantiateControllerWithIdentifier(
                QStringLiteral("SettingsViewController"), &parent)));
        LogCapture log;
        QVERIFY(!main.instantiateControllerWithIdentifier(QStringLiteral("Nope"), &parent));
        QCOMPARE(log.messages("orventa.app").size(), 1);
    }

    void splashIsReplacedByTheDashboardAfterTwoSeconds()
    {
        m_window = std::make_unique<MainWindow>();
        QVERIFY(m_window->windowIcon().isNull());
        QElapsedTimer clock;
        clock.start();
        QPointer<SplashScreenViewController> splash
            = new SplashScreenViewController(m_window.get());
        m_window->setContentViewController(splash);
        m_window->show();
        QCOMPARE(splash->mainTitleLabel()->font().family(), QStringLiteral("Poppins"));
        QCOMPARE(splash->mainTitleLabel()->font().pixelSize(), 20);
        QCOMPARE(splash->subTitleLabel()->font().family(), QStringLiteral("Poppins ExtraLight"));
        QCOMPARE(splash->subTitleLabel()->font().pixelSize(), 20);
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        // The icon comes once the window is up, not before it appears.
        QTRY_VERIFY(!m_window->windowIcon().isNull());
        QVERIFY(paintedPixels(m_window->windowIcon()) > 0);
        screenshot(m_window.get(), QStringLiteral("splash.png"));

        qint64 replacedAt = -1;
        connect(m_window.get(), &MainWindow::contentViewControllerChanged, this,
            [&] { replacedAt = clock.elapsed(); });
        bool splashAt1900 = false;
        QTimer::singleShot(1900 - clock.elapsed(), Qt::PreciseTimer, this,
            [&] { splashAt1900 = m_window->contentViewController() == splash; });
        QTRY_VERIFY_WITH_TIMEOUT(replacedAt >= 0, 4000);
        QVERIFY(splashAt1900);
        QVERIFY2(replacedAt >= 1990 && replacedAt <= 2300, qPrintable(QString::number(replacedAt)));
        auto* dashboard = qobject_cast<DashboardViewController*>(m_window->contentViewController());
        QVERIFY(dashboard);
        QVERIFY(dashboard->hdmiTouchback()); // its start-up ran now
        QCOMPARE(dashboard->window(), m_window.get());
        QTRY_VERIFY(splash.isNull());
        QCOMPARE(m_window->windowTitle(), QStringLiteral("ORVENTA Companion"));
    }

    void closingTheWindowDuringTheSplashResurrectsNothing()
    {
        m_window = std::make_unique<MainWindow>();
        QPointer<SplashScreenViewController> splash
            = new SplashScreenViewController(m_window.get());
        m_window->setContentViewController(splash);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QVERIFY(m_window->close());
        QTest::qWait(2300);
        // The timed step may put the dashboard into the closed window; it must not show it.
        QVERIFY(!m_window->isVisible());
        for (QWidget* w : QApplication::topLevelWidgets())
            QVERIFY2(!w->isVisible(), qPrintable(w->objectName()));

        // And with the window destroyed before the step, the step is dropped.
        m_window = std::make_unique<MainWindow>();
        splash = new SplashScreenViewController(m_window.get());
        m_window->setContentViewController(splash);
        m_window->show();
        m_window.reset();
        QVERIFY(splash.isNull());
        QTest::qWait(2300);
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }

    void receiverListIsOneInstanceBelowItsIcon()
    {
        DashboardViewController* d = showDashboard();
        QVERIFY(d);
        QVERIFY(paintedPixels(d->devicesListIcon()->icon()) > 0);
        QVERIFY(paintedPixels(d->settingsIcon()->icon()) > 0);
        screenshot(m_window.get(), QStringLiteral("dashboard-unpaired.png"));
        QTest::mouseClick(d->devicesListIcon(), Qt::LeftButton);
        DevicesListViewController* list = d->devicesListController();
        QVERIFY(list);
        QCOMPARE(list->delegate(), static_cast<DevicesListViewControllerDelegate*>(d));
        PopoverWindow* p = popover(d, list);
        QVERIFY(p);
        QTRY_VERIFY(p->isVisible());
        verifyBelow(p, d->devicesListIcon());
        FakeServiceBrowser* browser = FakeServiceBrowser::of(list);
        QVERIFY(browser);
        browser->appear(kRoom12);
        browser->appear(kBoardRoom);
        QTRY_COMPARE(list->zentrixDeviceNames().size(), 2);

        // A press in the main window closes it.
        QTest::mouseClick(d->deviceStatusLabel(), Qt::LeftButton);
        QTRY_VERIFY(!p->isVisible());

        // The connect button opens the same list, with the receivers it found.
        list->setDelegate(nullptr);
        QTest::mouseClick(d->connectButton(), Qt::LeftButton);
        QTRY_VERIFY(p->isVisible());
        QCOMPARE(d->devicesListController(), list);
        QCOMPARE(popover(d, list), p);
        QCOMPARE(list->delegate(), static_cast<DevicesListViewControllerDelegate*>(d));
        QCOMPARE(list->zentrixDeviceNames(), QStringList({"Room 12", "Board Room"}));
        verifyBelow(p, d->devicesListIcon());

        // Picking a row pairs the dashboard.
        DeviceTableView* table = list->devicesTableView();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, QPoint(40, 30));
        QTRY_COMPARE(d->selectedDeviceIPAddress(), std::optional<QString>("127.0.0.5"));
        QCOMPARE(d->deviceStatusLabel()->text(), QStringLiteral("Paired to 7f000005"));
        QTRY_VERIFY(p->isVisible());
        screenshot(m_window.get(), QStringLiteral("receivers.png"));

        // Escape closes it too, in the popover or in the main window.
        QTest::keyClick(p, Qt::Key_Escape);
        QTRY_VERIFY(!p->isVisible());
        screenshot(m_window.get(), QStringLiteral("dashboard-paired.png"));
        d->showDevicesList();
        QTRY_VERIFY(p->isVisible());
        QTest::keyClick(d->fileUploadButton(), Qt::Key_Escape);
        QTRY_VERIFY(!p->isVisible());

        // A second click on the list icon shows the same list, still paired, below the icon.
        QTest::mouseClick(d->devicesListIcon(), Qt::LeftButton);
        QTRY_VERIFY(p->isVisible());
        QCOMPARE(d->devicesListController(), list);
        QCOMPARE(popover(d, list), p);
        QCOMPARE(list->selectedRow(), 0);
        QCOMPARE(list->zentrixDeviceNames(), QStringList({"Room 12", "Board Room"}));
        verifyBelow(p, d->devicesListIcon());
        QTest::keyClick(p, Qt::Key_Escape);
        QTRY_VERIFY(!p->isVisible());

        // The two touchback looks, for the record.
        OrbSwitch* sw = d->wirelessTouchSwitch();
        QTest::mouseClick(sw, Qt::LeftButton, {}, sw->rect().center());
        QTRY_VERIFY(d->hdmiMessageView()->isVisible());
        screenshot(m_window.get(), QStringLiteral("dashboard-touchback.png"));
        QTest::mouseClick(sw, Qt::LeftButton, {}, sw->rect().center());
        QTRY_VERIFY(!d->hdmiMessageView()->isVisible());
        AlertRecorder alerts;
        QTest::mouseClick(d->castButton(), Qt::LeftButton, {}, d->castButton()->rect().center());
        QCOMPARE(alerts.alerts().size(), 1);
        screenshot(m_window.get(), QStringLiteral("dashboard-casting.png"));
    }

    void popoverStaysOpenWhileAnotherWindowIsUsed()
    {
        DashboardViewController* d = showDashboard();
        QVERIFY(d);
        d->showDevicesList();
        PopoverWindow* p = popover(d, d->devicesListController());
        QTRY_VERIFY(p->isVisible());
        // A window that is not the main window's stands in for another application.
        QWidget other;
        other.setGeometry(1000, 100, 200, 200);
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        other.activateWindow();
        QTest::mouseClick(&other, Qt::LeftButton);
        QTest::keyClick(&other, Qt::Key_Escape);
        QVERIFY(p->isVisible());
    }

    void settingsKeepTheirChoicesAndReportNothing()
    {
        DashboardViewController* d = showDashboard();
        QVERIFY(d);
        LogCapture log;
        QTest::mouseClick(d->settingsIcon(), Qt::LeftButton);
        ZentrixSettingsViewController* settings = d->settingsController();
        QVERIFY(settings);
        PopoverWindow* p = popover(d, settings);
        QTRY_VERIFY(p->isVisible());
        verifyBelow(p, d->settingsIcon());
        QCOMPARE(settings->settingsView()->layerBackgroundColor(), QColor(Qt::white));
        QComboBox* fps = settings->fpsButton();
        QComboBox* resolution = settings->sessionPresentButton();
        QCOMPARE(fps->accessibleName(), QStringLiteral("Frame rate"));
        QCOMPARE(resolution->accessibleName(), QStringLiteral("Resolution"));
        QStringList fpsItems, resolutionItems;
        for (int i = 0; i < fps->count(); ++i)
            fpsItems << fps->itemText(i);
        for (int i = 0; i < resolution->count(); ++i)
            resolutionItems << resolution->itemText(i);
        QCOMPARE(fpsItems, QStringList({"15", "25", "30", "60"}));
        QCOMPARE(resolutionItems, QStringList({"1080P", "720P"}));
        QCOMPARE(fps->currentText(), QStringLiteral("15"));
        QCOMPARE(resolution->currentText(), QStringLiteral("1080P"));

        // Choices from the keyboard, as a user would make them.
        fps->setFocus();
        QTest::keyClick(fps, Qt::Key_Down);
        QTest::keyClick(fps, Qt::Key_Down);
        resolution->setFocus();
        QTest::keyClick(resolution, Qt::Key_Down);
        QCOMPARE(fps->currentText(), QStringLiteral("30"));
        QCOMPARE(resolution->currentText(), QStringLiteral("720P"));
        QTest::keyClick(p, Qt::Key_Escape);
        QTRY_VERIFY(!p->isVisible());

        d->settingsIconClicked();
        QTRY_VERIFY(p->isVisible());
        QCOMPARE(d->settingsController(), settings);
        QCOMPARE(fps->currentText(), QStringLiteral("30"));
        QCOMPARE(resolution->currentText(), QStringLiteral("720P"));
        // Nothing reached the session.
        QVERIFY(log.messages("orventa.dashboard").isEmpty());
        QVERIFY(!d->selectedDeviceIPAddress().has_value());
        QVERIFY(!d->pingTimer());
    }
};

QTEST_MAIN(TestScreenFlow)
#include "tst_screen_flow.moc"
