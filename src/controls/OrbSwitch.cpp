#include "OrbSwitch.h"

#include "OrbSwitchAccessible.h"
#include "platform/Logging.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPathStroker>
#include <QStyleHints>
#include <QVariantAnimation>

const QString OrbSwitch::CheckedBinding = QStringLiteral("checked");

namespace {

QColor mix(const QColor& from, const QColor& to, qreal t)
{
    // Colours follow the curve but never beyond their end points.
    const qreal c = std::clamp(t, 0.0, 1.0);
    auto lerp = [c](float a, float b) { return a + (b - a) * c; };
    return QColor::fromRgbF(lerp(from.redF(), to.redF()), lerp(from.greenF(), to.greenF()),
        lerp(from.blueF(), to.blueF()), lerp(from.alphaF(), to.alphaF()));
}

QRectF mix(const QRectF& from, const QRectF& to, qreal t)
{
    // Geometry follows the curve as it is, overshoot included.
    auto lerp = [t](qreal a, qreal b) { return a + (b - a) * t; };
    return QRectF(lerp(from.x(), to.x()), lerp(from.y(), to.y()), lerp(from.width(), to.width()),
        lerp(from.height(), to.height()));
}

QPainterPath roundedPath(const QRectF& rect, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// A small blurred shadow of `shape`, drawn only where `caster` does not cover it.
void paintSoftShadow(QPainter& painter, const QPainterPath& shape, qreal radius, QColor color,
    const QPainterPath& caster)
{
    QPainterPathStroker stroker;
    stroker.setWidth(2.0 * radius);
    stroker.setJoinStyle(Qt::RoundJoin);
    color.setAlphaF(color.alphaF() / 2.0);
    painter.fillPath(stroker.createStroke(shape).united(shape).subtracted(caster), color);
    painter.fillPath(shape.subtracted(caster), color);
}

void setValueForKeyPath(QObject* object, const QString& keyPath, const QVariant& value)
{
    const QStringList keys = keyPath.split(QLatin1Char('.'));
    for (qsizetype i = 0; i + 1 < keys.size(); ++i) {
        object = object->property(keys[i].toUtf8().constData()).value<QObject*>();
        if (!object) {
            qCWarning(lcControls, "key path \"%s\" has no object at \"%s\"; value dropped",
                qUtf8Printable(keyPath), qUtf8Printable(keys[i]));
            return;
        }
    }
    object->setProperty(keys.last().toUtf8().constData(), value);
}

} // namespace

OrbSwitch::OrbSwitch(QWidget* parent)
    : QWidget(parent)
    , m_animation(new QVariantAnimation(this))
{
    OrbSwitchAccessible::installFactory();
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    m_animation->setStartValue(0.0);
    m_animation->setEndValue(1.0);
    m_animation->setDuration(qRound(AnimationDuration * 1000.0f));
    connect(m_animation, &QVariantAnimation::valueChanged, this,
        [this](const QVariant& progress) { applyAnimationProgress(progress.toReal()); });
    connect(QGuiApplication::styleHints(), &QStyleHints::tabFocusBehaviorChanged, this,
        &OrbSwitch::updateFocusPolicy);
    updateFocusPolicy();
    setEnabled(true);
    // The first look is shown as it is, without animating in from nothing.
    m_presented = m_from = m_to = modelLayerState();
}

OrbSwitch::~OrbSwitch() = default;

bool OrbSwitch::checked() const
{
    return m_checked;
}

void OrbSwitch::setChecked(bool checked)
{
    if (checked != m_checked) {
        m_checked = checked;
        propagateValue(QVariant(checked), CheckedBinding);
        notifyAccessibilityOfValue();
    }
    reloadLayer();
}

QColor OrbSwitch::tintColor() const
{
    return m_tintColor.isValid() ? m_tintColor : defaultTintColor();
}

void OrbSwitch::setTintColor(const QColor& color)
{
    m_tintColor = color;
    reloadLayer();
}

QColor OrbSwitch::defaultTintColor()
{
    return QColor::fromRgbF(28.0f / 255.0f, 189.0f / 255.0f, 157.0f / 255.0f, 0.75f);
}

QColor OrbSwitch::disabledBorderColor() const
{
    return m_disabledBorderColor.isValid() ? m_disabledBorderColor : defaultDisabledBorderColor();
}

void OrbSwitch::setDisabledBorderColor(const QColor& color)
{
    m_disabledBorderColor = color;
    reloadLayer();
}

QColor OrbSwitch::defaultDisabledBorderColor()
{
    return QColor::fromRgbF(0.0f, 0.0f, 0.0f, 0.2f);
}

QColor OrbSwitch::knobColor()
{
    return QColor::fromRgbF(1.0f, 1.0f, 1.0f, 1.0f);
}

void OrbSwitch::clearAction()
{
    m_action = nullptr;
    m_target = nullptr;
}

void OrbSwitch::invokeTargetAction()
{
    if (!m_action)
        return;
    if (!m_target) {
        qCInfo(lcControls, "switch action not sent: its target is gone");
        return;
    }
    m_action(this);
}

qreal OrbSwitch::knobHeightForSize(const QSizeF& size)
{
    return size.height() - 2.0 * KnobInset;
}

QRectF OrbSwitch::rectForKnob() const
{
    const QSizeF track = size();
    const qreal width
        = (track.width() - 2.0 * KnobInset) / (m_active ? PressedKnobRatio : RestingKnobRatio);
    const bool left = (!m_dragged && !m_checked) || (m_dragged && !m_draggingTowardsOn);
    const qreal x = left ? KnobInset : track.width() - width - KnobInset;
    return QRectF(x, KnobInset, width, knobHeightForSize(track));
}

bool OrbSwitch::showsOn() const
{
    return (m_dragged && m_draggingTowardsOn) || (!m_dragged && m_checked);
}

OrbSwitch::LayerState OrbSwitch::modelLayerState() const
{
    const QColor tint = tintColor();
    LayerState state;
    state.knobFrame = rectForKnob();
    state.trackBorder = tint;
    state.trackBackground = showsOn() ? tint : QColor(Qt::transparent);
    state.knobFace = showsOn() ? knobColor() : tint;
    state.opacity = isEnabled() ? 1.0 : DisabledOpacity;
    return state;
}

OrbSwitch::LayerState OrbSwitch::presentedLayerState() const
{
    return m_presented;
}

QPainterPath OrbSwitch::focusRingShape() const
{
    const qreal radius = height() / 2.0;
    return roundedPath(QRectF(rect()), radius);
}

QVariantAnimation* OrbSwitch::layerAnimation() const
{
    return m_animation;
}

QEasingCurve OrbSwitch::overshootCurve()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(QPointF(0.25, 1.5), QPointF(0.5, 1.0), QPointF(1.0, 1.0));
    return curve;
}

bool OrbSwitch::acceptsFirstResponder() const
{
    // Qt's counterpart of full keyboard access: may Tab reach every control?
    return QGuiApplication::styleHints()->tabFocusBehavior() == Qt::TabFocusAllControls;
}

void OrbSwitch::updateFocusPolicy()
{
    setFocusPolicy(acceptsFirstResponder() ? Qt::StrongFocus : Qt::NoFocus);
}

void OrbSwitch::reloadLayer()
{
    m_from = m_presented;
    m_to = modelLayerState();
    m_animation->stop();
    m_animation->setEasingCurve(m_dragged ? QEasingCurve(QEasingCurve::Linear) : overshootCurve());
    m_animation->start();
    emit layerReloaded();
}

void OrbSwitch::reloadLayerSize()
{
    // A new size moves the knob at once; colours keep animating.
    const QRectF knob = rectForKnob();
    m_from.knobFrame = m_to.knobFrame = m_presented.knobFrame = knob;
    update();
}

void OrbSwitch::applyAnimationProgress(qreal progress)
{
    m_presented.knobFrame = mix(m_from.knobFrame, m_to.knobFrame, progress);
    m_presented.trackBorder = mix(m_from.trackBorder, m_to.trackBorder, progress);
    m_presented.trackBackground = mix(m_from.trackBackground, m_to.trackBackground, progress);
    m_presented.knobFace = mix(m_from.knobFace, m_to.knobFace, progress);
    m_presented.opacity
        = m_from.opacity + (m_to.opacity - m_from.opacity) * std::clamp(progress, 0.0, 1.0);
    update();
}

void OrbSwitch::moveLeft()
{
    if (!m_checked)
        return;
    setChecked(false);
    invokeTargetAction();
}

void OrbSwitch::moveRight()
{
    if (m_checked)
        return;
    setChecked(true);
    invokeTargetAction();
}

void OrbSwitch::bind(const QString& binding, QObject* observedObject, const QString& keyPath,
    const BindingOptions& options)
{
    m_bindings.insert(binding, BindingInfo {observedObject, keyPath, options});
}

void OrbSwitch::unbind(const QString& binding)
{
    m_bindings.remove(binding);
}

std::optional<BindingInfo> OrbSwitch::infoForBinding(const QString& binding) const
{
    const auto it = m_bindings.constFind(binding);
    if (it == m_bindings.constEnd())
        return std::nullopt;
    return *it;
}

void OrbSwitch::propagateValue(const QVariant& value, const QString& binding)
{
    static const char where[] = "-[OrbSwitch propagateValue:forBinding:]";
    const std::optional<BindingInfo> info = infoForBinding(binding);
    if (!info)
        return;
    std::shared_ptr<ValueTransformer> transformer = info->options.valueTransformer;
    if (!transformer && !info->options.valueTransformerName.isEmpty())
        transformer = ValueTransformer::valueTransformerForName(info->options.valueTransformerName);
    QVariant written = value;
    if (transformer) {
        if (transformer->allowsReverseTransformation())
            written = transformer->reverseTransformedValue(value);
        else
            qCWarning(lcControls,
                "WARNING: binding \"%s\" has value transformer, but it doesn't allow "
                "reverse transformations in %s",
                qUtf8Printable(binding), where);
    }
    if (!info->observedObject) {
        qCCritical(lcControls, "ERROR: NSObservedObjectKey was nil for binding \"%s\" in %s",
            qUtf8Printable(binding), where);
        return;
    }
    if (info->observedKeyPath.isEmpty()) {
        qCCritical(lcControls, "ERROR: NSObservedKeyPathKey was nil for binding \"%s\" in %s",
            qUtf8Printable(binding), where);
        return;
    }
    setValueForKeyPath(info->observedObject, info->observedKeyPath, written);
}

void OrbSwitch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    // The layers are composed first and then faded as one, so overlaps do not show through.
    const qreal dpr = painter.device()->devicePixelRatioF();
    QImage layers((QSizeF(size()) * dpr).toSize(), QImage::Format_ARGB32_Premultiplied);
    layers.setDevicePixelRatio(dpr);
    layers.fill(Qt::transparent);
    {
        QPainter layerPainter(&layers);
        paintLayers(layerPainter, m_presented);
    }
    painter.setOpacity(m_presented.opacity);
    painter.drawImage(QPointF(0, 0), layers);
    if (hasFocus()) {
        painter.setOpacity(1.0);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor ring = palette().color(QPalette::Highlight);
        ring.setAlphaF(0.6f);
        QPainterPathStroker stroker;
        stroker.setWidth(BorderWidth);
        painter.fillPath(
            stroker.createStroke(focusRingShape()).intersected(focusRingShape()), ring);
    }
}

void OrbSwitch::paintLayers(QPainter& painter, const LayerState& state) const
{
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track(rect());
    const qreal trackRadius = track.height() / 2.0;
    const QPainterPath trackPath = roundedPath(track, trackRadius);
    painter.fillPath(trackPath, state.trackBackground);
    // Like a layer border, the border lies inside the bounds.
    const QRectF inner = track.adjusted(BorderWidth, BorderWidth, -BorderWidth, -BorderWidth);
    painter.fillPath(
        trackPath.subtracted(roundedPath(inner, trackRadius - BorderWidth)), state.trackBorder);

    const QRectF knob = state.knobFrame;
    const QPainterPath knobPath = roundedPath(knob, knob.height() / 2.0);
    // The knob's shadow falls two points below it.
    paintSoftShadow(painter, knobPath.translated(0.0, 2.0), KnobShadowRadius,
        QColor::fromRgbF(0, 0, 0, KnobShadowOpacity), knobPath);
    painter.fillPath(knobPath, knobColor());

    paintSoftShadow(painter, knobPath, KnobFaceShadowRadius,
        QColor::fromRgbF(0, 0, 0, KnobFaceShadowOpacity), knobPath);
    painter.fillPath(knobPath, state.knobFace);
}

void OrbSwitch::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    reloadLayerSize();
}

void OrbSwitch::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        reloadLayer();
}

void OrbSwitch::mousePressEvent(QMouseEvent* event)
{
    if (!isEnabled() || event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    m_active = true;
    reloadLayer();
}

void OrbSwitch::mouseMoveEvent(QMouseEvent* event)
{
    if (!isEnabled() || !m_active)
        return QWidget::mouseMoveEvent(event);
    m_dragged = true;
    m_draggingTowardsOn = event->position().x() >= width() / 2.0;
    reloadLayer();
}

void OrbSwitch::mouseReleaseEvent(QMouseEvent* event)
{
    if (!isEnabled() || !m_active || event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    m_active = false;
    const bool newValue = m_dragged ? m_draggingTowardsOn : !m_checked;
    const bool oldValue = m_checked;
    setChecked(newValue);
    if (newValue != oldValue)
        invokeTargetAction();
    m_dragged = false;
    m_draggingTowardsOn = false;
    reloadLayer();
}

void OrbSwitch::keyPressEvent(QKeyEvent* event)
{
    // Key events reach only the focused widget, so space works only while the switch has focus.
    switch (event->key()) {
    case Qt::Key_Space:
        setChecked(!m_checked);
        invokeTargetAction();
        event->accept();
        return;
    case Qt::Key_Left:
        moveLeft();
        event->accept();
        return;
    case Qt::Key_Right:
        moveRight();
        event->accept();
        return;
    default:
        QWidget::keyPressEvent(event); // passed on to the parent
    }
}

void OrbSwitch::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    update();
}

void OrbSwitch::focusOutEvent(QFocusEvent* event)
{
    QWidget::focusOutEvent(event);
    update();
}

void OrbSwitch::notifyAccessibilityOfValue()
{
    // Assistive technology hears the new checked state and the new value (0 or 1).
    QAccessible::State changed;
    changed.checked = true;
    QAccessibleStateChangeEvent stateEvent(this, changed);
    QAccessible::updateAccessibility(&stateEvent);
    QAccessibleValueChangeEvent valueEvent(this, int(m_checked));
    QAccessible::updateAccessibility(&valueEvent);
}
