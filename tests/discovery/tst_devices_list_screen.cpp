// The receiver list screen: rows, picks, unpairing, row reuse, keyboard use and the layout's
// colours and fonts.
#include "FakeServiceBrowser.h"
#include "LogCapture.h"

#include "controls/LayerView.h"
#include "discovery/DeviceTableCellView.h"
#include "discovery/DeviceTableView.h"
#include "discovery/DevicesListViewController.h"
#include "discovery/DevicesListViewControllerDelegate.h"
#include "platform/Fonts.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>

#include <memory>

namespace {

class RecordingDelegate : public DevicesListViewControllerDelegate
{
public:
    QList<QStringList> picks;
    int disconnects = 0;
    void didPickCastingDeviceWithIP(
        const QString& ip, const QString& hex, const QString& name) override
    {
        picks.append({ip, hex, name});
    }
    void deviceDisconnecetd() override { ++disconnects; }
};

} // namespace

class TestDevicesListScreen : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DevicesListViewController> m_controller;
    FakeServiceBrowser* m_browser = nullptr;
    RecordingDelegate m_delegate;
    std::unique_ptr<LogCapture> m_log;

    DeviceTableView* table() const { return m_controller->devicesTableView(); }
    DeviceTableCellView* cell(int row) const
    {
        return qobject_cast<DeviceTableCellView*>(table()->viewAt(0, row));
    }
    void clickRow(int row) const
    {
        const int y = row * 60 + 30 - table()->verticalScrollBar()->value();
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, QPoint(40, y));
    }
    void clickEmptySpace() const
    {
        QTest::mouseClick(
            table()->viewport(), Qt::LeftButton, {}, QPoint(40, table()->viewport()->height() - 3));
    }
    QStringList uncaught() const
    {
        return m_log->messages("orventa.platform").filter(QStringLiteral("Uncaught exception"));
    }

private Q_SLOTS:
    void init()
    {
        FakeServiceBrowser::install();
        m_delegate = {};
        m_controller = std::make_unique<DevicesListViewController>();
        m_controller->setDelegate(&m_delegate);
        m_controller->resize(340, 420);
        m_controller->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_controller.get()));
        m_browser = FakeServiceBrowser::of(m_controller.get());
        QVERIFY(m_browser);
        m_browser->appear(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        m_browser->appear(QStringLiteral("Brevik-X2|Studio|c0a80106"));
        m_log = std::make_unique<LogCapture>();
    }

    void cleanup()
    {
        m_log.reset();
        m_controller.reset();
    }

    void screenIsSetUp()
    {
        QCOMPARE(m_controller->windowTitle(), QStringLiteral("Homepage"));
        QCOMPARE(m_controller->selectedRow(), -1);
        QCOMPARE(m_controller->selectedColumn(), -1);
        QVERIFY(!m_controller->selectedZentrixDeviceIP().has_value());
        QCOMPARE(table()->rowHeight(), 60.0);
        QCOMPARE(table()->selectionHighlightStyle(), DeviceTableView::SelectionHighlightNone);
        QCOMPARE(m_controller->listHeaderView()->layerBackgroundColor(), QColor(Qt::white));

        QPushButton* button = m_controller->disconnectButton();
        QCOMPARE(button->palette().color(QPalette::Button), QColor(204, 115, 77));
        QCOMPARE(button->font(), Fonts::named(QStringLiteral("Poppins-Regular"), 16));
        QCOMPARE(button->accessibleName(), QStringLiteral("Disconnect"));
        QCOMPARE(m_controller->disconnectButtonHeight(), 0);
        QTRY_COMPARE(button->height(), 0);
        QCOMPARE(m_controller->headerMainLabel()->font(),
            Fonts::named(QStringLiteral("Poppins-ExtraLight"), 20));
        QCOMPARE(m_controller->headerSubLabel()->font(),
            Fonts::named(QStringLiteral("Poppins-Regular"), 12));
        QVERIFY(!m_controller->headerMainLabel()->text().isEmpty());
    }

    void rowsShowNameAndAddressCode()
    {
        QCOMPARE(table()->numberOfRows(), 2);
        for (int row : {0, 1}) {
            QVERIFY(cell(row));
            QCOMPARE(cell(row)->geometry().height(), 60);
            QCOMPARE(cell(row)->image(), QStringLiteral("radioIcon"));
            QCOMPARE(cell(row)->deviceNameLabel()->font(),
                Fonts::named(QStringLiteral("Poppins-Regular"), 16));
            QCOMPARE(cell(row)->deviceIPLabel()->font(),
                Fonts::named(QStringLiteral("Poppins-Medium"), 12));
        }
        QCOMPARE(cell(0)->deviceNameLabel()->text(), QStringLiteral("Room 12"));
        QCOMPARE(cell(0)->accessibleName(), QStringLiteral("Room 12"));
        // The second line is the address code, not the dotted address.
        QCOMPARE(cell(0)->deviceIPLabel()->text(), QStringLiteral("c0a80105"));
        QCOMPARE(cell(1)->deviceNameLabel()->text(), QStringLiteral("Studio"));
        QCOMPARE(cell(1)->deviceIPLabel()->text(), QStringLiteral("c0a80106"));
        QVERIFY(!table()->viewAt(0, 2));
        QVERIFY(!table()->viewAt(1, 0));
    }

    void pickingARow()
    {
        clickRow(1);
        QCOMPARE(cell(1)->image(), QStringLiteral("connectedChain"));
        QCOMPARE(cell(0)->image(), QStringLiteral("radioIcon"));
        QCOMPARE(m_delegate.picks,
            (QList<QStringList> {{QStringLiteral("192.168.1.6"), QStringLiteral("c0a80106"),
                QStringLiteral("Studio")}}));
        QCOMPARE(m_controller->disconnectButtonHeight(), 48);
        QTRY_COMPARE(m_controller->disconnectButton()->height(), 48);
        QCOMPARE(m_controller->selectedRow(), 1);
        QCOMPARE(m_controller->selectedColumn(), 0);
        QCOMPARE(m_controller->selectedZentrixDeviceIP(),
            std::optional<QString>(QStringLiteral("192.168.1.6")));
        QCOMPARE(m_log->messages("orventa.discovery"), QStringList {QStringLiteral("192.168.1.6")});
        QCOMPARE(table()->clickedRow(), -1);

        // The same row again: nothing at all.
        m_log->clear();
        clickRow(1);
        QCOMPARE(m_delegate.picks.size(), 1);
        QVERIFY(m_log->messages("orventa.discovery").isEmpty());

        // Another row: a direct switch, no disconnect in between.
        clickRow(0);
        QCOMPARE(cell(1)->image(), QStringLiteral("radioIcon"));
        QCOMPARE(cell(0)->image(), QStringLiteral("connectedChain"));
        QCOMPARE(m_delegate.picks.size(), 2);
        QCOMPARE(m_delegate.picks.last(),
            (QStringList {QStringLiteral("192.168.1.5"), QStringLiteral("c0a80105"),
                QStringLiteral("Room 12")}));
        QCOMPARE(m_delegate.disconnects, 0);
        QCOMPARE(m_controller->selectedRow(), 0);
    }

    void emptySpaceWithNothingPairedIsIgnored()
    {
        clickEmptySpace();
        QVERIFY(m_delegate.picks.isEmpty());
        QVERIFY(uncaught().isEmpty());
        QCOMPARE(m_controller->selectedRow(), -1);
    }

    void disconnecting()
    {
        clickRow(1);
        QTRY_COMPARE(m_controller->disconnectButton()->height(), 48);
        QTest::mouseClick(m_controller->disconnectButton(), Qt::LeftButton);
        QVERIFY(!m_controller->selectedZentrixDeviceIP().has_value());
        QCOMPARE(m_controller->disconnectButtonHeight(), 0);
        QCOMPARE(cell(1)->image(), QStringLiteral("radioIcon"));
        QCOMPARE(m_controller->selectedRow(), -1);
        QCOMPARE(m_controller->selectedColumn(), -1);
        QCOMPARE(m_delegate.disconnects, 1);
        QCOMPARE(m_delegate.picks.size(), 1);

        // Unpaired, the same row can be picked again.
        clickRow(1);
        QCOMPARE(m_delegate.picks.size(), 2);
    }

    void emptySpaceWhilePairedRaisesARangeError()
    {
        clickRow(0);
        clickEmptySpace();
        QCOMPARE(uncaught().size(), 1);
        QVERIFY(uncaught().first().contains(QStringLiteral("out_of_range")));
        // The steps before the failing read took place.
        QCOMPARE(cell(0)->image(), QStringLiteral("radioIcon"));
        QCOMPARE(m_controller->selectedRow(), -1);
        QCOMPARE(m_controller->selectedColumn(), -1);
        QCOMPARE(m_delegate.picks.size(), 1);

        // The application goes on.
        clickRow(1);
        QCOMPARE(m_delegate.picks.size(), 2);
        QCOMPARE(cell(1)->image(), QStringLiteral("connectedChain"));
    }

    void reusedRowsKeepTheirIcon()
    {
        clickRow(0);
        DeviceTableCellView* first = cell(0);
        DeviceTableCellView* second = cell(1);
        m_browser->appear(QStringLiteral("Brevik-X3|Hall|c0a80107"));
        QCOMPARE(table()->numberOfRows(), 3);
        // Same views, handed out again as they were; the new row gets a fresh one.
        QCOMPARE(cell(0), first);
        QCOMPARE(cell(1), second);
        QCOMPARE(cell(0)->image(), QStringLiteral("connectedChain"));
        QCOMPARE(cell(2)->image(), QStringLiteral("radioIcon"));

        // The paired receiver leaves: its old view now shows the next receiver, still chained.
        m_browser->disappear(QStringLiteral("Brevik-X1|Room 12|c0a80105"));
        QCOMPARE(table()->numberOfRows(), 2);
        QCOMPARE(cell(0)->deviceNameLabel()->text(), QStringLiteral("Studio"));
        QCOMPARE(cell(0)->image(), QStringLiteral("connectedChain"));
        QCOMPARE(m_controller->selectedRow(), 0);
    }

    void rowsOutOfSightHaveNoView()
    {
        for (int i = 0; i < 20; ++i)
            m_browser->appear(
                QStringLiteral("Brevik|R%1|0a0001%2").arg(i).arg(i, 2, 16, QLatin1Char('0')));
        QCOMPARE(table()->numberOfRows(), 22);
        clickRow(0);
        DeviceTableCellView* chained = cell(0);
        QCOMPARE(chained->image(), QStringLiteral("connectedChain"));
        table()->verticalScrollBar()->setValue(table()->verticalScrollBar()->maximum());
        QVERIFY(!table()->viewAt(0, 0));
        QVERIFY(cell(21));
        // The icon update for a row without a view is skipped quietly...
        QTest::mouseClick(m_controller->disconnectButton(), Qt::LeftButton);
        QCOMPARE(m_delegate.disconnects, 1);
        QCOMPARE(m_controller->selectedRow(), -1);
        QVERIFY(uncaught().isEmpty());
        // ...and the view that left sight was handed to a row coming into sight as it was.
        int shownBy = -1;
        for (int row = 0; row < 22; ++row) {
            if (cell(row) == chained)
                shownBy = row;
        }
        QVERIFY(shownBy > 0);
        QCOMPARE(chained->image(), QStringLiteral("connectedChain"));
    }

    void keyboardPicksRows()
    {
        cell(0)->setFocus();
        QTRY_VERIFY(cell(0)->hasFocus());
        QTest::keyClick(cell(0), Qt::Key_Down);
        QTRY_VERIFY(cell(1)->hasFocus());
        QTest::keyClick(cell(1), Qt::Key_Return);
        QCOMPARE(m_delegate.picks.size(), 1);
        QCOMPARE(m_delegate.picks.last().at(2), QStringLiteral("Studio"));
        QTest::keyClick(cell(1), Qt::Key_Up);
        QTRY_VERIFY(cell(0)->hasFocus());
        QTest::keyClick(cell(0), Qt::Key_Space);
        QCOMPARE(m_delegate.picks.size(), 2);
        QCOMPARE(m_delegate.picks.last().at(2), QStringLiteral("Room 12"));

        // The disconnect button is reachable and acts on Space.
        QPushButton* button = m_controller->disconnectButton();
        QVERIFY(button->focusPolicy() & Qt::TabFocus);
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
        QCOMPARE(m_delegate.disconnects, 1);
        QVERIFY(cell(0)->focusPolicy() & Qt::TabFocus);
        // Hidden at height 0, it is out of the focus chain and a second Space does nothing.
        QVERIFY(!button->hasFocus());
        QCOMPARE(button->focusPolicy(), Qt::NoFocus);
        QTest::keyClick(button, Qt::Key_Space);
        QCOMPARE(m_delegate.disconnects, 1);
    }

    void theDelegateIsHeldWeakly()
    {
        struct ObjectDelegate : QObject, RecordingDelegate
        {
        };
        auto* delegate = new ObjectDelegate;
        m_controller->setDelegate(delegate);
        QCOMPARE(
            m_controller->delegate(), static_cast<DevicesListViewControllerDelegate*>(delegate));
        delete delegate;
        QVERIFY(!m_controller->delegate());
        clickRow(0); // no one to tell; still pairs
        QCOMPARE(m_controller->selectedRow(), 0);
    }
};

QTEST_MAIN(TestDevicesListScreen)
#include "tst_devices_list_screen.moc"
