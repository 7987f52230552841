#include "controls/OrbSwitch.h"

#include "LogCapture.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAccessibleValueInterface>
#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QStyleHints>
#include <QTest>
#include <QVBoxLayout>
#include <QVariantAnimation>

namespace {

constexpr int SwitchWidth = 100;
constexpr int SwitchHeight = 50;
const char* const ControlsCategory = "orventa.controls";

// The switch's target: records every action it receives and the value at that moment.
class ActionRecorder : public QObject
{
    Q_OBJECT
public:
    void toggled(OrbSwitch* sender)
    {
        senders << sender;
        values << sender->checked();
    }
    QList<OrbSwitch*> senders;
    QList<bool> values;
};

// A bound model object; counts the writes it receives.
class Model : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariant on READ on WRITE setOn)
    Q_PROPERTY(QObject* child READ child)
public:
    QVariant on() const { return m_on; }
    void setOn(const QVariant& value)
    {
        m_on = value;
        ++writes;
    }
    QObject* child() const { return m_child; }
    void setChild(QObject* child) { m_child = child; }
    int writes = 0;

private:
    QVariant m_on;
    QObject* m_child = nullptr;
};

class NegatingTransformer : public ValueTransformer
{
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant& v) const override { return !v.toBool(); }
    QVariant reverseTransformedValue(const QVariant& v) const override { return !v.toBool(); }
};

class OneWayTransformer : public ValueTransformer
{
public:
    bool allowsReverseTransformation() const override { return false; }
    QVariant transformedValue(const QVariant& v) const override { return v; }
};

// A parent that records the keys its children passed on.
class KeySink : public QWidget
{
public:
    QList<int> keys;

protected:
    void keyPressEvent(QKeyEvent* event) override { keys << event->key(); }
};

QImage renderSwitch(OrbSwitch& sw)
{
    QImage image(sw.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    sw.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image.convertToFormat(QImage::Format_ARGB32);
}

void saveArtifact(const QImage& image, const QString& name)
{
    QDir().mkpath(QStringLiteral(ORVENTA_TEST_ARTIFACTS_DIR));
    QVERIFY(image.save(QStringLiteral(ORVENTA_TEST_ARTIFACTS_DIR "/") + name));
}

// First and last column of the middle row for which `isKnob` holds.
template<typename Pred> QPair<int, int> knobColumns(const QImage& image, Pred isKnob)
{
    const int y = image.height() / 2;
    int first = -1;
    int last = -1;
    for (int x = 0; x < image.width(); ++x) {
        if (isKnob(image.pixelColor(x, y))) {
            if (first < 0)
                first = x;
            last = x;
        }
    }
    return {first, last};
}

int luminance(const QColor& c)
{
    return c.red() + c.green() + c.blue();
}

} // namespace

class TestOrbSwitch : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<OrbSwitch> makeSwitch(ActionRecorder* recorder = nullptr)
    {
        auto sw = std::make_unique<OrbSwitch>();
        sw->resize(SwitchWidth, SwitchHeight);
        if (recorder)
            sw->setTargetAction(recorder, &ActionRecorder::toggled);
        return sw;
    }
    static void settle(OrbSwitch& sw)
    {
        QTRY_COMPARE(sw.layerAnimation()->state(), QAbstractAnimation::Stopped);
    }
    static void showAndWait(QWidget& w)
    {
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
    }

private slots:
    void defaults();
    void knobGeometryFollowsTheRules();
    void clickWithoutMovementTogglesAndSendsOnce();
    void dragEndingOnSameSideChangesNothing();
    void dragReleasedAtTheMiddleCountsAsOn();
    void dragJustLeftOfTheMiddleCountsAsOff();
    void setCheckedRedrawsButSendsNothing();
    void spaceTogglesOnlyWithFocus();
    void otherKeysArePassedOn();
    void arrowKeysMoveTheKnob();
    void tabReachesTheSwitch();
    void disabledSwitchIgnoresMouseButObeysMovesAndAccessibility();
    void noActionUpdatesValueAndBindingOnly();
    void goneTargetIsNotCalled();
    void bindingWritesThroughKeyPath();
    void bindingTransformers();
    void bindingLogLines();
    void accessibilityAsCheckBox();
    void animationDurationAndCurve();
    void animationOvershootsWhenNotDragging();
    void dragFollowsPointerWithoutOvershoot();
    void focusRingShape();
    void drawing();
};

void TestOrbSwitch::defaults()
{
    OrbSwitch sw;
    QCOMPARE(sw.checked(), false);
    QCOMPARE(sw.isActive(), false);
    QCOMPARE(sw.hasDragged(), false);
    QCOMPARE(sw.isDraggingTowardsOn(), false);
    QVERIFY(sw.isEnabled());
    QVERIFY(!sw.hasAction());
    const QColor tint = sw.tintColor();
    QCOMPARE(tint.redF(), 28.0f / 255.0f);
    QCOMPARE(tint.greenF(), 189.0f / 255.0f);
    QCOMPARE(tint.blueF(), 157.0f / 255.0f);
    QCOMPARE(tint.alphaF(), 0.75f);
    const QColor border = sw.disabledBorderColor();
    QCOMPARE(border.redF(), 0.0f);
    QCOMPARE(border.alphaF(), 0.2f);

    sw.setTintColor(Qt::red);
    QCOMPARE(sw.tintColor(), QColor(Qt::red));
    sw.setTintColor(QColor());
    QCOMPARE(sw.tintColor(), OrbSwitch::defaultTintColor());
    sw.setDisabledBorderColor(Qt::blue);
    QCOMPARE(sw.disabledBorderColor(), QColor(Qt::blue));
    QCOMPARE(OrbSwitch::knobColor(), QColor(Qt::white));
}

void TestOrbSwitch::knobGeometryFollowsTheRules()
{
    auto sw = makeSwitch();
    const qreal rest = (SwitchWidth - 4.0) / 1.618034;
    const qreal pressed = (SwitchWidth - 4.0) / 1.38;
    QCOMPARE(OrbSwitch::knobHeightForSize(QSizeF(SwitchWidth, SwitchHeight)), SwitchHeight - 4.0);
    QCOMPARE(sw->rectForKnob(), QRectF(2.0, 2.0, rest, SwitchHeight - 4.0));
    sw->setChecked(true);
    QCOMPARE(sw->rectForKnob(), QRectF(SwitchWidth - rest - 2.0, 2.0, rest, SwitchHeight - 4.0));
    sw->setActive(true);
    QCOMPARE(sw->rectForKnob().width(), pressed);
    QCOMPARE(sw->rectForKnob().x(), SwitchWidth - pressed - 2.0);
    // While dragging the knob follows the pointer's side, not the value.
    sw->setDragged(true);
    sw->setDraggingTowardsOn(false);
    QCOMPARE(sw->rectForKnob().x(), 2.0);
    sw->setDraggingTowardsOn(true);
    QCOMPARE(sw->rectForKnob().x(), SwitchWidth - pressed - 2.0);

    // A new size moves the knob at once, without animating.
    sw->setActive(false);
    sw->setDragged(false);
    showAndWait(*sw);
    sw->resize(200, 40);
    QTRY_COMPARE(sw->size(), QSize(200, 40));
    QCOMPARE(sw->presentedLayerState().knobFrame, sw->rectForKnob());
    QCOMPARE(sw->rectForKnob().height(), 36.0);
}

void TestOrbSwitch::clickWithoutMovementTogglesAndSendsOnce()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    showAndWait(*sw);
    QTest::mouseClick(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QCOMPARE(sw->checked(), true);
    QCOMPARE(recorder.senders, QList<OrbSwitch*> {sw.get()});
    QCOMPARE(recorder.values, QList<bool> {true});
    QVERIFY(!sw->isActive());
    QVERIFY(!sw->hasDragged());

    QTest::mouseClick(sw.get(), Qt::LeftButton, {}, QPoint(90, 25));
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, (QList<bool> {true, false}));
}

void TestOrbSwitch::dragEndingOnSameSideChangesNothing()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    showAndWait(*sw);
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QVERIFY(sw->isActive());
    QTest::mouseMove(sw.get(), QPoint(30, 25));
    QVERIFY(sw->hasDragged());
    QVERIFY(!sw->isDraggingTowardsOn());
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(30, 25));
    QCOMPARE(sw->checked(), false);
    QVERIFY(recorder.senders.isEmpty());

    sw->setChecked(true);
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(60, 25));
    QTest::mouseMove(sw.get(), QPoint(95, 25));
    QVERIFY(sw->isDraggingTowardsOn());
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(95, 25));
    QCOMPARE(sw->checked(), true);
    QVERIFY(recorder.senders.isEmpty());
    QVERIFY(!sw->isActive());
    QVERIFY(!sw->hasDragged());
    QVERIFY(!sw->isDraggingTowardsOn());
}

void TestOrbSwitch::dragReleasedAtTheMiddleCountsAsOn()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    showAndWait(*sw);
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QTest::mouseMove(sw.get(), QPoint(SwitchWidth / 2, 25));
    QVERIFY(sw->isDraggingTowardsOn());
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(SwitchWidth / 2, 25));
    QCOMPARE(sw->checked(), true);
    QCOMPARE(recorder.values, QList<bool> {true});
}

void TestOrbSwitch::dragJustLeftOfTheMiddleCountsAsOff()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    sw->setChecked(true);
    showAndWait(*sw);
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(90, 25));
    QTest::mouseMove(sw.get(), QPoint(SwitchWidth / 2 - 1, 25));
    QVERIFY(!sw->isDraggingTowardsOn());
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(SwitchWidth / 2 - 1, 25));
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, QList<bool> {false});
}

void TestOrbSwitch::setCheckedRedrawsButSendsNothing()
{
    ActionRecorder recorder;
    Model model;
    auto sw = makeSwitch(&recorder);
    sw->bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"));
    QSignalSpy reloads(sw.get(), &OrbSwitch::layerReloaded);

    sw->setChecked(false); // the value it already has
    QCOMPARE(reloads.count(), 1);
    QCOMPARE(model.writes, 0);

    sw->setChecked(true);
    QCOMPARE(reloads.count(), 2);
    QCOMPARE(model.writes, 1);
    QCOMPARE(model.on(), QVariant(true));

    sw->setChecked(true);
    QCOMPARE(reloads.count(), 3);
    QCOMPARE(model.writes, 1);
    QVERIFY(recorder.senders.isEmpty());
}

void TestOrbSwitch::spaceTogglesOnlyWithFocus()
{
    ActionRecorder recorder;
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* other = new QWidget;
    other->setFocusPolicy(Qt::StrongFocus);
    auto* sw = new OrbSwitch;
    sw->setFixedSize(SwitchWidth, SwitchHeight);
    sw->setTargetAction(&recorder, &ActionRecorder::toggled);
    layout->addWidget(other);
    layout->addWidget(sw);
    window.show();
    window.activateWindow(); // no window manager under a bare X server
    QVERIFY(QTest::qWaitForWindowActive(&window));

    other->setFocus();
    QTRY_VERIFY(other->hasFocus());
    QTest::keyClick(window.windowHandle(), Qt::Key_Space);
    QCOMPARE(sw->checked(), false);
    QVERIFY(recorder.senders.isEmpty());

    sw->setFocus();
    QTRY_VERIFY(sw->hasFocus());
    QTest::keyClick(window.windowHandle(), Qt::Key_Space);
    QCOMPARE(sw->checked(), true);
    QCOMPARE(recorder.values, QList<bool> {true});
    QTest::keyClick(window.windowHandle(), Qt::Key_Space);
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, (QList<bool> {true, false}));
}

void TestOrbSwitch::otherKeysArePassedOn()
{
    ActionRecorder recorder;
    KeySink parent;
    auto* sw = new OrbSwitch(&parent);
    sw->resize(SwitchWidth, SwitchHeight);
    sw->setTargetAction(&recorder, &ActionRecorder::toggled);
    for (int key : {int(Qt::Key_A), int(Qt::Key_Return), int(Qt::Key_Escape)}) {
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(sw, &press);
    }
    QCOMPARE(parent.keys, (QList<int> {Qt::Key_A, Qt::Key_Return, Qt::Key_Escape}));
    QCOMPARE(sw->checked(), false);
    QVERIFY(recorder.senders.isEmpty());

    QKeyEvent space(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
    QApplication::sendEvent(sw, &space);
    QVERIFY(space.isAccepted());
    QCOMPARE(parent.keys.size(), 3);
    QCOMPARE(sw->checked(), true);
}

void TestOrbSwitch::arrowKeysMoveTheKnob()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    showAndWait(*sw);
    sw->setFocus();
    QTest::keyClick(sw.get(), Qt::Key_Left); // already off: nothing
    QVERIFY(recorder.senders.isEmpty());
    QTest::keyClick(sw.get(), Qt::Key_Right);
    QCOMPARE(sw->checked(), true);
    QTest::keyClick(sw.get(), Qt::Key_Right); // already on: nothing
    QTest::keyClick(sw.get(), Qt::Key_Left);
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, (QList<bool> {true, false}));
}

void TestOrbSwitch::tabReachesTheSwitch()
{
    QCOMPARE(QGuiApplication::styleHints()->tabFocusBehavior(), Qt::TabFocusAllControls);
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* edit = new QLineEdit;
    auto* sw = new OrbSwitch;
    layout->addWidget(edit);
    layout->addWidget(sw);
    QVERIFY(sw->acceptsFirstResponder());
    QVERIFY(sw->focusPolicy() & Qt::TabFocus);
    window.show();
    window.activateWindow(); // no window manager under a bare X server
    QVERIFY(QTest::qWaitForWindowActive(&window));
    edit->setFocus();
    QTRY_VERIFY(edit->hasFocus());
    QTest::keyClick(window.windowHandle(), Qt::Key_Tab);
    QTRY_VERIFY(sw->hasFocus());
}

void TestOrbSwitch::disabledSwitchIgnoresMouseButObeysMovesAndAccessibility()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    showAndWait(*sw);
    sw->setEnabled(false);
    QTest::mouseClick(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QVERIFY(!sw->isActive());
    QTest::mouseMove(sw.get(), QPoint(90, 25));
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(90, 25));
    QCOMPARE(sw->checked(), false);
    QVERIFY(!sw->hasDragged());
    QVERIFY(recorder.senders.isEmpty());

    sw->moveRight();
    QCOMPARE(sw->checked(), true);
    sw->moveLeft();
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, (QList<bool> {true, false}));

    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(sw.get());
    QVERIFY(iface);
    QVERIFY(iface->state().disabled);
    iface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(sw->checked(), true);
    QCOMPARE(recorder.values, (QList<bool> {true, false, true}));

    settle(*sw);
    QCOMPARE(sw->presentedLayerState().opacity, 0.5);
}

void TestOrbSwitch::noActionUpdatesValueAndBindingOnly()
{
    ActionRecorder recorder;
    Model model;
    auto sw = makeSwitch(&recorder);
    sw->clearAction();
    QVERIFY(!sw->hasAction());
    sw->bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"));
    showAndWait(*sw);
    QTest::mouseClick(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    QCOMPARE(sw->checked(), true);
    QCOMPARE(model.on(), QVariant(true));
    sw->moveLeft();
    QCOMPARE(model.on(), QVariant(false));
    QCOMPARE(model.writes, 2);
    QVERIFY(recorder.senders.isEmpty());
}

void TestOrbSwitch::goneTargetIsNotCalled()
{
    auto recorder = std::make_unique<ActionRecorder>();
    auto sw = makeSwitch(recorder.get());
    recorder.reset();
    QVERIFY(sw->target() == nullptr);
    LogCapture log;
    sw->moveRight(); // must not reach the destroyed target
    QCOMPARE(sw->checked(), true);
    QVERIFY(log.messages(ControlsCategory)
                .contains(QStringLiteral("switch action not sent: its target is gone")));
}

void TestOrbSwitch::bindingWritesThroughKeyPath()
{
    Model model;
    Model child;
    model.setChild(&child);
    OrbSwitch sw;
    QVERIFY(!sw.infoForBinding(OrbSwitch::CheckedBinding));
    sw.bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("child.on"));
    const std::optional<BindingInfo> info = sw.infoForBinding(OrbSwitch::CheckedBinding);
    QVERIFY(info);
    QCOMPARE(info->observedObject.data(), &model);
    QCOMPARE(info->observedKeyPath, QStringLiteral("child.on"));

    sw.setChecked(true);
    QCOMPARE(child.on(), QVariant(true));
    QCOMPARE(model.writes, 0);

    // A key path through a missing object is logged and dropped.
    model.setChild(nullptr);
    LogCapture log;
    sw.setChecked(false);
    QCOMPARE(child.writes, 1);
    QCOMPARE(log.messages(ControlsCategory),
        QStringList {
            QStringLiteral("key path \"child.on\" has no object at \"child\"; value dropped")});

    // Other bindings are left alone, and an unknown one is a silent no-op.
    sw.unbind(OrbSwitch::CheckedBinding);
    sw.propagateValue(true, QStringLiteral("enabled"));
    QVERIFY(!sw.infoForBinding(OrbSwitch::CheckedBinding));
}

void TestOrbSwitch::bindingTransformers()
{
    Model model;
    OrbSwitch sw;
    BindingOptions direct;
    direct.valueTransformer = std::make_shared<NegatingTransformer>();
    sw.bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"), direct);
    sw.setChecked(true);
    QCOMPARE(model.on(), QVariant(false));

    ValueTransformer::setValueTransformer(
        std::make_shared<NegatingTransformer>(), QStringLiteral("Negate"));
    BindingOptions named;
    named.valueTransformerName = QStringLiteral("Negate");
    sw.bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"), named);
    sw.setChecked(false);
    QCOMPARE(model.on(), QVariant(true));

    // A name nobody registered means no transformer.
    named.valueTransformerName = QStringLiteral("Unknown");
    sw.bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"), named);
    sw.setChecked(true);
    QCOMPARE(model.on(), QVariant(true));
    ValueTransformer::setValueTransformer(nullptr, QStringLiteral("Negate"));
    QVERIFY(!ValueTransformer::valueTransformerForName(QStringLiteral("Negate")));
}

void TestOrbSwitch::bindingLogLines()
{
    Model model;
    OrbSwitch sw;
    LogCapture log;

    BindingOptions oneWay;
    oneWay.valueTransformer = std::make_shared<OneWayTransformer>();
    sw.bind(OrbSwitch::CheckedBinding, &model, QStringLiteral("on"), oneWay);
    sw.setChecked(true);
    QCOMPARE(model.on(), QVariant(true)); // untransformed value still written
    QCOMPARE(log.messages(ControlsCategory),
        QStringList {QStringLiteral(
            "WARNING: binding \"checked\" has value transformer, but it doesn't allow "
            "reverse transformations in -[OrbSwitch propagateValue:forBinding:]")});

    log.clear();
    sw.bind(OrbSwitch::CheckedBinding, nullptr, QStringLiteral("on"));
    sw.setChecked(false);
    QCOMPARE(log.messages(ControlsCategory),
        QStringList {QStringLiteral("ERROR: NSObservedObjectKey was nil for binding "
                                    "\"checked\" in -[OrbSwitch propagateValue:forBinding:]")});

    log.clear();
    sw.bind(OrbSwitch::CheckedBinding, &model, QString());
    sw.setChecked(true);
    QCOMPARE(log.messages(ControlsCategory),
        QStringList {QStringLiteral("ERROR: NSObservedKeyPathKey was nil for binding "
                                    "\"checked\" in -[OrbSwitch propagateValue:forBinding:]")});
    QCOMPARE(model.writes, 1);

    // An observed object that went away counts as nil.
    auto gone = std::make_unique<Model>();
    sw.bind(OrbSwitch::CheckedBinding, gone.get(), QStringLiteral("on"));
    gone.reset();
    log.clear();
    sw.setChecked(false);
    QCOMPARE(log.messages(ControlsCategory).size(), 1);
    QVERIFY(log.messages(ControlsCategory)
                .first()
                .startsWith(QStringLiteral("ERROR: NSObservedObjectKey was nil")));
}

void TestOrbSwitch::accessibilityAsCheckBox()
{
    ActionRecorder recorder;
    auto sw = makeSwitch(&recorder);
    sw->setAccessibleName(QStringLiteral("Touchback"));
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(sw.get());
    QVERIFY(iface);
    QCOMPARE(iface->role(), QAccessible::CheckBox);
    QCOMPARE(iface->text(QAccessible::Name), QStringLiteral("Touchback"));
    QCOMPARE(iface->childCount(), 0);
    QVERIFY(iface->state().checkable);
    QVERIFY(!iface->state().checked);
    QVERIFY(!iface->state().disabled);
    QAccessibleValueInterface* value = iface->valueInterface();
    QVERIFY(value);
    QCOMPARE(value->currentValue(), QVariant(0));
    QCOMPARE(value->minimumValue(), QVariant(0));
    QCOMPARE(value->maximumValue(), QVariant(1));
    QAccessibleActionInterface* actions = iface->actionInterface();
    QVERIFY(actions);
    QCOMPARE(actions->actionNames().count(QAccessibleActionInterface::pressAction()), 1);
    QVERIFY(!actions->actionNames().contains(QAccessibleActionInterface::toggleAction()));

    actions->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(sw->checked(), true);
    QVERIFY(iface->state().checked);
    QCOMPARE(value->currentValue(), QVariant(1));
    QCOMPARE(recorder.values, QList<bool> {true});

    value->setCurrentValue(1); // unchanged: no action
    QCOMPARE(recorder.values.size(), 1);
    value->setCurrentValue(0);
    QCOMPARE(sw->checked(), false);
    QCOMPARE(recorder.values, (QList<bool> {true, false}));
    actions->doAction(QAccessibleActionInterface::toggleAction()); // not one of its actions
    QCOMPARE(recorder.values, (QList<bool> {true, false}));
    actions->doAction(QAccessibleActionInterface::pressAction());
    QCOMPARE(recorder.values, (QList<bool> {true, false, true}));

    // Setting the value from code is not a user action.
    sw->setChecked(false);
    QCOMPARE(recorder.values.size(), 3);
    QCOMPARE(value->currentValue(), QVariant(0));
}

void TestOrbSwitch::animationDurationAndCurve()
{
    QCOMPARE(OrbSwitch::AnimationDuration, 0.4f);
    auto sw = makeSwitch();
    sw->setChecked(true);
    QVariantAnimation* animation = sw->layerAnimation();
    QCOMPARE(animation->duration(), 400);
    QCOMPARE(animation->state(), QAbstractAnimation::Running);
    const QEasingCurve curve = animation->easingCurve();
    QCOMPARE(curve.type(), QEasingCurve::BezierSpline);
    QCOMPARE(curve.toCubicSpline(),
        (QList<QPointF> {QPointF(0.25, 1.5), QPointF(0.5, 1.0), QPointF(1.0, 1.0)}));
    QVERIFY(curve.valueForProgress(0.5) > 1.0);
    QCOMPARE(curve.valueForProgress(0.0), 0.0);
    QCOMPARE(curve.valueForProgress(1.0), 1.0);
}

void TestOrbSwitch::animationOvershootsWhenNotDragging()
{
    auto sw = makeSwitch();
    showAndWait(*sw);
    QList<qreal> xs;
    connect(sw->layerAnimation(), &QVariantAnimation::valueChanged, this,
        [&] { xs << sw->presentedLayerState().knobFrame.x(); });
    sw->setChecked(true);
    settle(*sw);
    const qreal target = sw->rectForKnob().x();
    QCOMPARE(sw->presentedLayerState().knobFrame, sw->rectForKnob());
    QVERIFY(xs.size() > 3);
    QVERIFY2(*std::max_element(xs.cbegin(), xs.cend()) > target + 0.5, "no overshoot");
}

void TestOrbSwitch::dragFollowsPointerWithoutOvershoot()
{
    auto sw = makeSwitch();
    showAndWait(*sw);
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(10, 25));
    settle(*sw);
    const qreal pressedWidth = (SwitchWidth - 4.0) / 1.38;
    QCOMPARE(sw->presentedLayerState().knobFrame.width(), pressedWidth);

    QList<qreal> xs;
    connect(sw->layerAnimation(), &QVariantAnimation::valueChanged, this,
        [&] { xs << sw->presentedLayerState().knobFrame.x(); });
    QTest::mouseMove(sw.get(), QPoint(80, 25));
    QCOMPARE(sw->layerAnimation()->easingCurve().type(), QEasingCurve::Linear);
    QCOMPARE(sw->layerAnimation()->duration(), 400);
    settle(*sw);
    const qreal target = SwitchWidth - pressedWidth - 2.0;
    QCOMPARE(sw->presentedLayerState().knobFrame.x(), target);
    QVERIFY(xs.size() > 3);
    for (qreal x : xs)
        QVERIFY2(x <= target + 1e-9, qPrintable(QStringLiteral("overshoot to %1").arg(x)));
    // The track shows "on" while the pointer is on the right, though the value is still off.
    QCOMPARE(sw->checked(), false);
    QCOMPARE(sw->presentedLayerState().trackBackground, sw->tintColor());
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(80, 25));
    QCOMPARE(sw->checked(), true);
    QCOMPARE(sw->layerAnimation()->easingCurve().type(), QEasingCurve::BezierSpline);
}

void TestOrbSwitch::focusRingShape()
{
    auto sw = makeSwitch();
    const QPainterPath ring = sw->focusRingShape();
    QCOMPARE(ring.boundingRect(), QRectF(0, 0, SwitchWidth, SwitchHeight));
    QCOMPARE(sw->focusRingMaskBounds(), QRect(0, 0, SwitchWidth, SwitchHeight));
    // Radius half the height: the corner at (4, 4) lies outside, the top edge at the radius inside.
    QVERIFY(!ring.contains(QPointF(4, 4)));
    QVERIFY(ring.contains(QPointF(SwitchHeight / 2.0, 1)));
    QVERIFY(ring.contains(QPointF(SwitchWidth / 2.0, SwitchHeight / 2.0)));
}

void TestOrbSwitch::drawing()
{
    auto sw = makeSwitch();
    showAndWait(*sw);
    const qreal rest = (SwitchWidth - 4.0) / 1.618034;
    const qreal pressed = (SwitchWidth - 4.0) / 1.38;
    const int mid = SwitchHeight / 2;
    const QColor tint = OrbSwitch::defaultTintColor();
    auto near = [](int a, qreal b) { return std::abs(a - b) <= 1.5; };
    auto opaque = [](const QColor& c) { return c.alpha() >= 230; };
    auto whiteKnob = [](const QColor& c) { return c.alpha() >= 230 && c.red() >= 200; };

    // At rest, off: knob on the left, clear track on its right, tinted border.
    settle(*sw);
    const QImage off = renderSwitch(*sw);
    saveArtifact(off, QStringLiteral("switch-off.png"));
    auto [offFirst, offLast] = knobColumns(off, opaque);
    QVERIFY2(near(offFirst, 2.0) && near(offLast + 1, 2.0 + rest),
        qPrintable(QStringLiteral("off knob %1..%2").arg(offFirst).arg(offLast)));
    QCOMPARE(off.pixelColor(SwitchWidth - 15, mid).alpha(), 0);
    // Off, the knob's face is the tint (alpha 0.75) laid over the white knob.
    const QColor face = off.pixelColor(qRound(2.0 + rest / 2.0), mid);
    QVERIFY2(face.alpha() == 255 && std::abs(face.red() - 85) <= 3
            && std::abs(face.green() - 206) <= 3 && std::abs(face.blue() - 182) <= 3,
        qPrintable(face.name(QColor::HexArgb)));
    const QColor border = off.pixelColor(SwitchWidth / 2, 1);
    QVERIFY(std::abs(border.alpha() - 191) <= 3);
    QVERIFY(std::abs(border.green() - 189) <= 3);
    // The knob's shadow falls below it: the bottom border is darker than the top one.
    QVERIFY(luminance(off.pixelColor(25, SwitchHeight - 2)) < luminance(off.pixelColor(25, 1)));

    // At rest, on: knob on the right, the track filled with the tint.
    sw->setChecked(true);
    settle(*sw);
    const QImage on = renderSwitch(*sw);
    saveArtifact(on, QStringLiteral("switch-on.png"));
    auto [onFirst, onLast] = knobColumns(on, whiteKnob);
    QVERIFY2(near(onFirst, SwitchWidth - rest - 2.0) && near(onLast + 1, SwitchWidth - 2.0),
        qPrintable(QStringLiteral("on knob %1..%2").arg(onFirst).arg(onLast)));
    const QColor fill = on.pixelColor(15, mid);
    QVERIFY2(std::abs(fill.alpha() - qRound(tint.alphaF() * 255)) <= 2
            && std::abs(fill.red() - 28) <= 2 && std::abs(fill.green() - 189) <= 2
            && std::abs(fill.blue() - 157) <= 2,
        qPrintable(fill.name(QColor::HexArgb)));

    // Pressed (on): the knob widens towards the other side.
    QTest::mousePress(sw.get(), Qt::LeftButton, {}, QPoint(80, mid));
    settle(*sw);
    const QImage down = renderSwitch(*sw);
    saveArtifact(down, QStringLiteral("switch-pressed.png"));
    auto [downFirst, downLast] = knobColumns(down, whiteKnob);
    QVERIFY2(near(downFirst, SwitchWidth - pressed - 2.0) && near(downLast + 1, SwitchWidth - 2.0),
        qPrintable(QStringLiteral("pressed knob %1..%2").arg(downFirst).arg(downLast)));
    QTest::mouseRelease(sw.get(), Qt::LeftButton, {}, QPoint(80, mid));
    QCOMPARE(sw->checked(), false);

    // Disabled (off): the whole drawing at half opacity.
    sw->setEnabled(false);
    settle(*sw);
    const QImage disabled = renderSwitch(*sw);
    saveArtifact(disabled, QStringLiteral("switch-disabled.png"));
    for (const QPoint p : {QPoint(SwitchWidth / 2, 1), QPoint(20, mid), QPoint(1, mid)}) {
        const int full = off.pixelColor(p).alpha();
        const int half = disabled.pixelColor(p).alpha();
        QVERIFY2(std::abs(half - full / 2.0) <= 2.0,
            qPrintable(
                QStringLiteral("at %1,%2: %3 vs %4").arg(p.x()).arg(p.y()).arg(half).arg(full)));
    }
    QCOMPARE(disabled.pixelColor(SwitchWidth - 15, mid).alpha(), 0);
}

QTEST_MAIN(TestOrbSwitch)
#include "tst_orbswitch.moc"
