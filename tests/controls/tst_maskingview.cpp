#include "controls/MaskingView.h"
#include "controls/OrbSwitch.h"

#include "LogCapture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>

namespace {

const char* const ControlsCategory = "orventa.controls";

// A plain view that records the presses that reach it.
class PressRecorder : public QWidget
{
public:
    using QWidget::QWidget;
    int presses = 0;

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        ++presses;
        event->accept();
    }
};

// A window with a view behind the mask, the mask on top, and inside the mask: a button, a label,
// a plain container holding a button, and a plain recorder view.
struct MaskWindow
{
    MaskWindow()
    {
        window.resize(400, 300);
        behind = new PressRecorder(&window);
        behind->setGeometry(0, 0, 400, 300);
        mask = new MaskingView(&window);
        mask->setGeometry(50, 50, 300, 200);
        button = new QPushButton(QStringLiteral("Cast"), mask);
        button->setGeometry(10, 10, 80, 30);
        label = new QLabel(QStringLiteral("Receiver"), mask);
        label->setGeometry(100, 10, 80, 30);
        container = new QWidget(mask);
        container->setGeometry(10, 60, 120, 60);
        innerButton = new QPushButton(QStringLiteral("Upload"), container);
        innerButton->setGeometry(5, 5, 80, 30);
        recorder = new PressRecorder(mask);
        recorder->setGeometry(150, 60, 100, 60);
    }
    bool show()
    {
        window.show();
        return QTest::qWaitForWindowExposed(&window);
    }
    void clickAt(QPoint inWindow)
    {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, inWindow);
    }
    QPoint emptyPartOfMask() const { return QPoint(50 + 280, 50 + 180); }
    QPoint recorderCentre() const { return QPoint(50 + 200, 50 + 90); }

    QWidget window;
    PressRecorder* behind = nullptr;
    MaskingView* mask = nullptr;
    QPushButton* button = nullptr;
    QLabel* label = nullptr;
    QWidget* container = nullptr;
    QPushButton* innerButton = nullptr;
    PressRecorder* recorder = nullptr;
};

} // namespace

class TestMaskingView : public QObject
{
    Q_OBJECT

private slots:
    void firstDrawDisablesDirectControlsOnly();
    void everyDrawDisablesAgain();
    void enableSubViewsTurnsThemBackOn();
    void whatCountsAsAControl();
    void maskedClickFindsNeitherMaskNorSubviews();
    void unmaskedClickOnEmptyPartEndsAtTheMask();
    void noTrackingOfItsOwn();
};

void TestMaskingView::firstDrawDisablesDirectControlsOnly()
{
    MaskWindow w;
    QVERIFY(w.button->isEnabled());
    QVERIFY(w.show());
    QTRY_VERIFY(!w.button->isEnabled());
    QVERIFY(w.innerButton->isEnabled());
    QVERIFY(w.container->isEnabled());
    QVERIFY(w.label->isEnabled());
    QVERIFY(w.recorder->isEnabled());
    QVERIFY(w.mask->isEnabled());
}

void TestMaskingView::everyDrawDisablesAgain()
{
    MaskWindow w;
    QVERIFY(w.show());
    QTRY_VERIFY(!w.button->isEnabled());
    w.button->setEnabled(true);
    QVERIFY(w.button->isEnabled());
    w.mask->repaint();
    QVERIFY(!w.button->isEnabled());
}

void TestMaskingView::enableSubViewsTurnsThemBackOn()
{
    MaskWindow w;
    w.mask->disableSubViews();
    QVERIFY(!w.button->isEnabled());
    QVERIFY(w.innerButton->isEnabled());
    w.mask->enableSubViews();
    QVERIFY(w.button->isEnabled());
    w.mask->setSubViewsEnabled(false);
    QVERIFY(!w.button->isEnabled());
    QVERIFY(w.label->isEnabled());
}

void TestMaskingView::whatCountsAsAControl()
{
    QCheckBox check;
    QSlider slider;
    QSpinBox spin;
    QComboBox combo;
    QLineEdit edit;
    OrbSwitch sw;
    QPushButton button;
    for (QWidget* control :
        std::initializer_list<QWidget*> {&check, &slider, &spin, &combo, &edit, &sw, &button})
        QVERIFY2(MaskingView::isControl(control), control->metaObject()->className());
    QLabel label;
    QWidget plain;
    QFrame frame;
    MaskingView nested;
    for (QWidget* other : std::initializer_list<QWidget*> {&label, &plain, &frame, &nested})
        QVERIFY2(!MaskingView::isControl(other), other->metaObject()->className());
}

void TestMaskingView::maskedClickFindsNeitherMaskNorSubviews()
{
    MaskWindow w;
    w.mask->setMaskEnabled(true);
    QVERIFY(w.mask->maskEnabled());
    QVERIFY(w.mask->testAttribute(Qt::WA_TransparentForMouseEvents));
    QVERIFY(w.show());
    LogCapture log;

    w.clickAt(w.emptyPartOfMask());
    QCOMPARE(w.behind->presses, 1);
    w.clickAt(w.recorderCentre());
    QCOMPARE(w.recorder->presses, 0);
    QCOMPARE(w.behind->presses, 2);
    QVERIFY(!log.messages(ControlsCategory).contains(QStringLiteral("Mouse down")));

    // Turned off again, the mask takes part in hit testing once more.
    w.mask->setMaskEnabled(false);
    w.clickAt(w.recorderCentre());
    QCOMPARE(w.recorder->presses, 1);
    QCOMPARE(w.behind->presses, 2);
}

void TestMaskingView::unmaskedClickOnEmptyPartEndsAtTheMask()
{
    MaskWindow w;
    QVERIFY(!w.mask->maskEnabled());
    QVERIFY(w.show());
    LogCapture log;
    w.clickAt(w.emptyPartOfMask());
    QCOMPARE(log.messages(ControlsCategory), QStringList {QStringLiteral("Mouse down")});
    QCOMPARE(w.behind->presses, 0);

    // A click on a subview goes to the subview, not to the mask.
    log.clear();
    w.clickAt(w.recorderCentre());
    QCOMPARE(w.recorder->presses, 1);
    QVERIFY(log.messages(ControlsCategory).isEmpty());
}

void TestMaskingView::noTrackingOfItsOwn()
{
    MaskingView mask;
    QVERIFY(!mask.hasMouseTracking());
    QVERIFY(!mask.testAttribute(Qt::WA_Hover));
    QVERIFY(!mask.testAttribute(Qt::WA_TransparentForMouseEvents));
    QVERIFY(!mask.maskEnabled());
}

QTEST_MAIN(TestMaskingView)
#include "tst_maskingview.moc"
