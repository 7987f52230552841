// The dashboard's session state: start-up, pairing, unpairing and the visibility of every panel
// in every state, on the real widgets.
#include "AlertRecorder.h"
#include "LogCapture.h"

#include "app/AppDelegate.h"
#include "app/MainStoryboard.h"
#include "controls/DragDropView.h"
#include "controls/LayerView.h"
#include "controls/OrbSwitch.h"
#include "dashboard/AssetImageView.h"
#include "dashboard/DashboardViewController.h"
#include "platform/Fonts.h"
#include "receiver/HDMITouchBack.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

namespace {
// Receivers live on loopback addresses: the disable request of a disconnect really goes out.
const QString kIp = QStringLiteral("127.0.0.5");
const QString kHex = QStringLiteral("c0a80105");
const QString kName = QStringLiteral("Room 12");

struct Shown
{
    bool dropArea, castButton, switchPanel, messagePanel, emptyPicture;
};
} // namespace

class TestDashboardSession : public QObject
{
    Q_OBJECT

    std::unique_ptr<DashboardViewController> m_dashboard;
    std::unique_ptr<AlertRecorder> m_alerts;

    DashboardViewController* d() const { return m_dashboard.get(); }
    Shown shown() const
    {
        return {!d()->fileUploadView()->isHidden(), !d()->castButtonView()->isHidden(),
            !d()->hdmiToggleView()->isHidden(), !d()->hdmiMessageView()->isHidden(),
            !d()->emptyStateImageView()->isHidden()};
    }
    void verifyShown(Shown expected) const
    {
        const Shown s = shown();
        QCOMPARE(s.dropArea, expected.dropArea);
        QCOMPARE(s.castButton, expected.castButton);
        QCOMPARE(s.switchPanel, expected.switchPanel);
        QCOMPARE(s.messagePanel, expected.messagePanel);
        QCOMPARE(s.emptyPicture, expected.emptyPicture);
    }
    void verifyPairedScreen() const
    {
        verifyShown({true, true, true, false, false});
        QCOMPARE(d()->castButtonView()->layerContents(), QStringLiteral("castingInactive"));
    }
    void pair(const QString& name = kName) { d()->didPickCastingDeviceWithIP(kIp, kHex, name); }

private Q_SLOTS:
    void initTestCase()
    {
        Fonts::loadApplicationFonts();
        MainStoryboard::registerControllers();
    }
    void init()
    {
        m_alerts = std::make_unique<AlertRecorder>();
        m_dashboard = std::make_unique<DashboardViewController>();
        m_dashboard->resize(900, 600);
        m_dashboard->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_dashboard.get()));
    }
    void cleanup()
    {
        m_dashboard.reset();
        m_alerts.reset();
    }

    void startUpSetsTheSessionState()
    {
        QCOMPARE(d()->isCastingInProgress(), false);
        QCOMPARE(d()->isTouchBackEnabled(), false);
        QCOMPARE(d()->isFileUploadEnabled(), false);
        QCOMPARE(d()->serverPingFailedCount(), 0);
        QVERIFY(d()->hdmiTouchback());
        QVERIFY(!d()->sendUdpSocket());
        QVERIFY(!d()->pingTimer());
        QVERIFY(!d()->mouseSimulator());
        QVERIFY(!d()->selectedDeviceIPAddress().has_value());
        QVERIFY(!d()->selectedDeviceHex().has_value());
        QVERIFY(!d()->devicesListController());
        QVERIFY(!d()->settingsController());
    }

    void firstLookOfTheScreen()
    {
        LayerView* cast = d()->castButtonView();
        QCOMPARE(cast->width(), 132);
        QCOMPARE(cast->layerCornerRadius(), cast->width() / 2.0);
        QCOMPARE(cast->layerContents(), QStringLiteral("castingInactive"));
        QCOMPARE(d()->fileUploadView()->layerContents(), QStringLiteral("fileUploadGrid"));
        QCOMPARE(d()->dashboardParentView()->layerBackgroundColor(), QColor(Qt::white));
        QCOMPARE(d()->wirelessTouchSwitch()->checked(), false);
        const QColor toolbar = d()->toolbarView()->layerBackgroundColor();
        QCOMPARE(toolbar.rgb(), QColor(52, 73, 94).rgb());
        QCOMPARE(toolbar.alpha(), 64);
        const QColor panel = d()->hdmiToggleView()->layerBackgroundColor();
        QCOMPARE(panel.rgb(), QColor(34, 34, 34).rgb());
        QCOMPARE(panel.alpha(), 64);
        QCOMPARE(d()->uploadArrowImage()->assetName(), QStringLiteral("uploadArrow"));
        // The second init() registered the dragged types; the dashboard is the drop delegate.
        QCOMPARE(d()->fileUploadView()->registeredDraggedTypes().size(), 4);
        QCOMPARE(d()->fileUploadView()->delegate(), static_cast<DragDropViewDelegate*>(d()));
        QVERIFY(d()->wirelessTouchSwitch()->hasAction());
    }

    void fontsOfTheOutlets_data()
    {
        QTest::addColumn<QString>("outlet");
        QTest::addColumn<QString>("family");
        QTest::addColumn<int>("size");
        QTest::newRow("deviceStatusLabel") << "deviceStatusLabel"
                                           << "Poppins" << 16;
        QTest::newRow("facingProblemLabel") << "facingProblemLabel"
                                            << "Poppins" << 16;
        QTest::newRow("enableHDMILabel") << "enableHDMILabel"
                                         << "Poppins" << 16;
        QTest::newRow("deviceHDMIMainLabel") << "deviceHDMIMainLabel"
                                             << "Poppins SemiBold" << 32;
        QTest::newRow("deviceHDMISubLabel") << "deviceHDMISubLabel"
                                            << "Poppins" << 16;
        QTest::newRow("dragAndDropLabel") << "dragAndDropLabel"
                                          << "Poppins" << 12;
        QTest::newRow("emptyStateLabel") << "emptyStateLabel"
                                         << "Poppins" << 12;
    }
    void fontsOfTheOutlets()
    {
        QFETCH(QString, outlet);
        QFETCH(QString, family);
        QFETCH(int, size);
        auto* label = d()->findChild<QLabel*>(outlet);
        QVERIFY(label);
        QCOMPARE(label->font().family(), family);
        QCOMPARE(label->font().pixelSize(), size);
        QCOMPARE(QFontInfo(label->font()).family(), family); // the packaged font really loaded
    }

    void fileTypeLists()
    {
        QCOMPARE(d()->imageFileTypes(), QStringList({"png", "jpg", "jpeg", "psd", "svg", "gof"}));
        QCOMPARE(d()->videoFileTypes(), QStringList({"mp3", "mov", "mp4"}));
        QCOMPARE(d()->documentsFileTypes(),
            QStringList({"doc", "docx", "ppt", "pptx", "pdf", "key", "pps", "xls", "xlsx"}));
        const QString gif = QStringLiteral("gif");
        QVERIFY(!d()->imageFileTypes().contains(gif));
        QVERIFY(!d()->videoFileTypes().contains(gif));
        QVERIFY(!d()->documentsFileTypes().contains(gif));
        QVERIFY(d()->imageFileTypes().contains(QStringLiteral("gof")));
        QVERIFY(d()->videoFileTypes().contains(QStringLiteral("mp3")));
    }

    void unpairedAtStart()
    {
        QCOMPARE(d()->deviceStatusLabel()->text(), QStringLiteral("No receiver paired"));
        verifyShown({false, false, false, false, true});
        QVERIFY(d()->connectButton()->isVisible());
    }

    void pairingShowsTheAddressCode()
    {
        pair();
        QCOMPARE(d()->selectedDeviceIPAddress(), std::optional<QString>(kIp));
        QCOMPARE(d()->selectedDeviceHex(), std::optional<QString>(kHex));
        QCOMPARE(d()->selectedDeviceName(), kName);
        QCOMPARE(d()->deviceStatusLabel()->text(), QStringLiteral("Paired to c0a80105"));
        QCOMPARE(d()->isFileUploadEnabled(), true);
        verifyPairedScreen();
        QVERIFY(d()->fileUploadButton()->isVisible());
        QCOMPARE(d()->wirelessTouchSwitch()->checked(), false);
        QVERIFY(!d()->pingTimer());
    }

    void quorviProRefusesUploads_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("uploads");
        QTest::newRow("model in the name") << "Room Quorvi-Pro 2" << false;
        QTest::newRow("lower case") << "Room quorvi-pro 2" << true;
        QTest::newRow("other model") << "Studio" << true;
        QTest::newRow("empty name") << "" << true;
    }
    void quorviProRefusesUploads()
    {
        QFETCH(QString, name);
        QFETCH(bool, uploads);
        pair(name);
        QCOMPARE(d()->isFileUploadEnabled(), uploads);
    }

    void disconnectKeepsTheNameAndShowsTheEmptyState()
    {
        LogCapture log;
        pair();
        d()->deviceDisconnecetd();
        QVERIFY(!d()->selectedDeviceIPAddress().has_value());
        QCOMPARE(d()->selectedDeviceName(), kName);
        QCOMPARE(d()->selectedDeviceHex(), std::optional<QString>(kHex));
        QCOMPARE(d()->deviceStatusLabel()->text(), QStringLiteral("*No Device Connected"));
        verifyShown({false, false, false, false, true});
        QCOMPARE(d()->wirelessTouchSwitch()->checked(), false);
        QCOMPARE(d()->isCastingInProgress(), false);
        // The disable request went to the receiver still recorded at that moment.
        QVERIFY(log.messages("orventa.dashboard")
                    .contains(QStringLiteral("initiateHDMITouchbackEnabled false false")));
        QCOMPARE(d()->hdmiTouchback()->obtainedDeviceIP(), std::optional<QString>(kIp));
        // Not casting: no "disabled" alert.
        QVERIFY(m_alerts->alerts().isEmpty());
    }

    void switchTouchbackFromTheSwitch()
    {
        pair();
        LogCapture log;
        OrbSwitch* sw = d()->wirelessTouchSwitch();
        QTest::mouseClick(sw, Qt::LeftButton, {}, sw->rect().center());
        QTRY_VERIFY(sw->checked());
        QCOMPARE(d()->deviceStatusLabel()->text(), QStringLiteral("Paired to c0a80105"));
        verifyShown({false, false, true, true, false});
        const QStringList lines = log.messages("orventa.dashboard");
        QVERIFY(lines.contains(QStringLiteral("initiateHDMITouchbackEnabled true true")));
        QVERIFY(lines.contains(QStringLiteral("Starting server ping...")));

        // Off again: back to the paired screen, upload permission recomputed.
        d()->setIsFileUploadEnabled(false);
        QTest::mouseClick(sw, Qt::LeftButton, {}, sw->rect().center());
        QTRY_VERIFY(!sw->checked());
        verifyPairedScreen();
        QCOMPARE(d()->isFileUploadEnabled(), true);
        QVERIFY(log.messages("orventa.dashboard")
                    .contains(QStringLiteral("initiateHDMITouchbackEnabled false true")));
    }

    void castTouchbackFromTheCastButton()
    {
        pair();
        QAbstractButton* cast = d()->castButton();
        QTest::mouseClick(cast, Qt::LeftButton, {}, cast->rect().center());
        QCOMPARE(m_alerts->alerts().size(), 1);
        QCOMPARE(m_alerts->alerts().at(0).message, QStringLiteral("Touchback is enabled now."));
        QVERIFY(m_alerts->alerts().at(0).informativeText.startsWith(
            QStringLiteral("To mirror the screen, please go to the AirPlay option")));
        QCOMPARE(d()->isCastingInProgress(), true);
        QCOMPARE(d()->castButtonView()->layerContents(), QStringLiteral("castingActive"));
        verifyShown({true, true, false, false, false});

        // The second press stops the cast and says so.
        QTest::mouseClick(cast, Qt::LeftButton, {}, cast->rect().center());
        QCOMPARE(m_alerts->alerts().size(), 2);
        QCOMPARE(m_alerts->alerts().at(1).message, QStringLiteral("Touchback is disabled now."));
        QCOMPARE(d()->isCastingInProgress(), false);
        verifyPairedScreen();
    }

    void castButtonWorksFromTheKeyboard()
    {
        pair();
        QAbstractButton* cast = d()->castButton();
        QCOMPARE(cast->focusPolicy(), Qt::StrongFocus);
        QCOMPARE(cast->accessibleName(), QStringLiteral("Cast"));
        cast->setFocus();
        QTest::keyClick(cast, Qt::Key_Space);
        QCOMPARE(d()->isCastingInProgress(), true);
        QTest::keyClick(cast, Qt::Key_Return);
        QTRY_COMPARE(d()->isCastingInProgress(), false);
        QCOMPARE(m_alerts->alerts().size(), 2);
    }

    void disconnectDuringACastStopsIt()
    {
        pair();
        d()->beginScreenCast();
        d()->deviceDisconnecetd();
        QCOMPARE(m_alerts->alerts().size(), 2);
        QCOMPARE(m_alerts->alerts().at(1).message, QStringLiteral("Touchback is disabled now."));
        QCOMPARE(d()->isCastingInProgress(), false);
        QCOMPARE(d()->castButtonView()->layerContents(), QStringLiteral("castingInactive"));
        verifyShown({false, false, false, false, true});
    }

    void castingOffCleansTheScreenAndKeepsThePairing()
    {
        pair();
        d()->beginScreenCast();
        d()->cleanUIAfterCastingOff();
        QCOMPARE(d()->isCastingInProgress(), false);
        QCOMPARE(d()->selectedDeviceIPAddress(), std::optional<QString>(kIp));
        verifyPairedScreen();
        QCOMPARE(m_alerts->alerts().size(), 1); // no alert of its own
    }

    void secondPickDuringTouchbackOnlyReplacesTheReceiver()
    {
        pair();
        d()->beginScreenCast();
        d()->didPickCastingDeviceWithIP(
            QStringLiteral("127.0.0.6"), QStringLiteral("c0a80106"), QStringLiteral("Studio"));
        QCOMPARE(d()->isCastingInProgress(), true);
        QCOMPARE(d()->castButtonView()->layerContents(), QStringLiteral("castingActive"));
        QCOMPARE(d()->deviceStatusLabel()->text(), QStringLiteral("Paired to c0a80106"));
        QCOMPARE(d()->selectedDeviceIPAddress(), std::optional<QString>("127.0.0.6"));
    }

    void dragFeedbackFollowsTheUploadPermission()
    {
        pair(QStringLiteral("Room Quorvi-Pro 2"));
        d()->draggingBegin();
        QCOMPARE(d()->fileUploadView()->layerContents(), QStringLiteral("fileUploadGrid"));
        QCOMPARE(d()->uploadArrowImage()->assetName(), QStringLiteral("uploadArrow"));
        pair();
        d()->draggingBegin();
        QCOMPARE(d()->fileUploadView()->layerContents(), QStringLiteral("fileUploadGridActive"));
        QCOMPARE(d()->uploadArrowImage()->assetName(), QStringLiteral("uploadArrowActive"));
        d()->draggingFinished();
        QCOMPARE(d()->fileUploadView()->layerContents(), QStringLiteral("fileUploadGrid"));
        QCOMPARE(d()->uploadArrowImage()->assetName(), QStringLiteral("uploadArrow"));
    }

    void uploadControlRefusesForQuorviPro()
    {
        pair(QStringLiteral("Room Quorvi-Pro 2"));
        QTest::mouseClick(d()->fileUploadButton(), Qt::LeftButton);
        QCOMPARE(m_alerts->alerts().size(), 1);
        QCOMPARE(m_alerts->alerts().at(0),
            (AlertRecorder::Alert {QStringLiteral("Cannot upload"),
                QStringLiteral("File upload feature is not available for "
                               "your device.")}));
    }

    void controlsHaveAccessibleNamesAndTabOrder()
    {
        pair();
        QCOMPARE(d()->devicesListIcon()->accessibleName(), QStringLiteral("Receivers"));
        QCOMPARE(d()->settingsIcon()->accessibleName(), QStringLiteral("Settings"));
        QCOMPARE(d()->connectButton()->accessibleName(), QStringLiteral("Connect"));
        QCOMPARE(d()->wirelessTouchSwitch()->accessibleName(), QStringLiteral("Touchback"));
        QCOMPARE(d()->fileUploadButton()->accessibleName(), QStringLiteral("Upload file"));
        QCOMPARE(d()->fileUploadView()->accessibleName(), QStringLiteral("Drop area"));
        // Tab walks the paired screen's controls in reading order.
        d()->activateWindow();
        d()->devicesListIcon()->setFocus(Qt::TabFocusReason);
        QList<QWidget*> order;
        for (int i = 0; i < 5; ++i) {
            order << QApplication::focusWidget();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order,
            (QList<QWidget*> {d()->devicesListIcon(), d()->settingsIcon(), d()->fileUploadButton(),
                d()->castButton(), d()->wirelessTouchSwitch()}));
    }

    void appDelegateQuitsWithTheLastWindow()
    {
        AppDelegate delegate;
        QVERIFY(delegate.applicationShouldTerminateAfterLastWindowClosed());
        QApplication::setQuitOnLastWindowClosed(false);
        delegate.attach(*qApp);
        QVERIFY(QApplication::quitOnLastWindowClosed());
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void representedObjectIsHandedOn()
    {
        d()->setRepresentedObject(QStringLiteral("value"));
        QCOMPARE(d()->representedObject(), QVariant(QStringLiteral("value")));
    }
};

QTEST_MAIN(TestDashboardSession)
#include "tst_dashboard_session.moc"
