#pragma once

#include "BindingInfo.h"

#include <QColor>
#include <QEasingCurve>
#include <QHash>
#include <QPainterPath>
#include <QPointer>
#include <QRectF>
#include <QVariant>
#include <QWidget>

#include <functional>
#include <optional>

class QVariantAnimation;

// The sliding on/off switch. Target and action: the action is sent to the target only when the
// user changes the value (mouse release, keyboard, accessibility), never from setChecked().
//
// It is drawn as three layers: the track (border and fill in the tint), the white knob with a
// soft shadow below it, and the knob's face, a tinted wash over the knob. Changes of value,
// press state and enabled state animate over 0.4 s with an overshooting curve; while the knob
// is dragged the same duration is used with a linear curve, so the knob never overshoots.
class OrbSwitch : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool checked READ checked WRITE setChecked)
    Q_PROPERTY(bool active READ isActive WRITE setActive)
    Q_PROPERTY(bool dragged READ hasDragged WRITE setDragged)
    Q_PROPERTY(bool draggingTowardsOn READ isDraggingTowardsOn WRITE setDraggingTowardsOn)
    Q_PROPERTY(QColor tintColor READ tintColor WRITE setTintColor)
    Q_PROPERTY(QColor disabledBorderColor READ disabledBorderColor WRITE setDisabledBorderColor)
public:
    // What the layers show at one moment; the animation runs between two of these.
    struct LayerState
    {
        QRectF knobFrame;
        QColor trackBorder;
        QColor trackBackground;
        QColor knobFace;
        qreal opacity = 1.0;
    };

    static constexpr qreal BorderWidth = 2.0;
    static constexpr qreal KnobInset = 2.0;
    static constexpr qreal RestingKnobRatio = 1.618034;
    static constexpr qreal PressedKnobRatio = 1.38;
    static constexpr qreal KnobShadowOpacity = 0.3;
    static constexpr qreal KnobShadowRadius = 1.0;
    static constexpr qreal KnobFaceShadowOpacity = 0.35;
    static constexpr qreal KnobFaceShadowRadius = 1.0;
    static constexpr qreal DisabledOpacity = 0.5;
    static constexpr float AnimationDuration = 0.4f; // seconds
    static const QString CheckedBinding; // "checked"

    explicit OrbSwitch(QWidget* parent = nullptr);
    ~OrbSwitch() override;

    bool checked() const;
    void setChecked(bool checked);

    bool isActive() const { return m_active; }
    void setActive(bool active) { m_active = active; }
    bool hasDragged() const { return m_dragged; }
    void setDragged(bool dragged) { m_dragged = dragged; }
    bool isDraggingTowardsOn() const { return m_draggingTowardsOn; }
    void setDraggingTowardsOn(bool towardsOn) { m_draggingTowardsOn = towardsOn; }

    // An invalid colour means "not set": the getters then answer the defaults.
    QColor tintColor() const;
    void setTintColor(const QColor& color);
    static QColor defaultTintColor();
    QColor disabledBorderColor() const; // kept for callers; the drawing does not use it
    void setDisabledBorderColor(const QColor& color);
    static QColor defaultDisabledBorderColor();
    static QColor knobColor();

    // The action, called with the switch as its argument. A switch with no action sends nothing.
    template<typename Target>
    void setTargetAction(Target* target, void (Target::*action)(OrbSwitch*))
    {
        m_target = target;
        m_action = [target, action](OrbSwitch* sender) { (target->*action)(sender); };
    }
    void clearAction();
    QObject* target() const { return m_target; }
    bool hasAction() const { return bool(m_action); }
    // Sends the action to the target; nothing without an action or once the target is gone.
    void invokeTargetAction();

    // Geometry and layers.
    static qreal knobHeightForSize(const QSizeF& size);
    QRectF rectForKnob() const;
    LayerState modelLayerState() const; // where the layers are heading
    LayerState presentedLayerState() const; // what is on screen now
    QPainterPath focusRingShape() const; // bounds as a rounded rect, radii half the height
    QRect focusRingMaskBounds() const { return rect(); }
    QVariantAnimation* layerAnimation() const; // the running (or last) layer animation
    static QEasingCurve overshootCurve();
    bool acceptsFirstResponder() const;

    void reloadLayer(); // animated: colours, opacity and knob position
    void reloadLayerSize(); // immediate: knob frame and corner radii

    // The keyboard's moves; they work on a disabled switch too.
    void moveLeft();
    void moveRight();

    // Bindings: a small record per binding name; only "checked" is written by the switch.
    void bind(const QString& binding, QObject* observedObject, const QString& keyPath,
        const BindingOptions& options = {});
    void unbind(const QString& binding);
    std::optional<BindingInfo> infoForBinding(const QString& binding) const;
    void propagateValue(const QVariant& value, const QString& binding);

signals:
    // Emitted each time the layers are told to redraw (also when the value did not change).
    void layerReloaded();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool showsOn() const;
    void updateFocusPolicy();
    void applyAnimationProgress(qreal progress);
    void paintLayers(QPainter& painter, const LayerState& state) const;
    void notifyAccessibilityOfValue();

    QPointer<QObject> m_target;
    std::function<void(OrbSwitch*)> m_action;

    bool m_checked = false;
    bool m_active = false;
    bool m_dragged = false;
    bool m_draggingTowardsOn = false;
    QColor m_tintColor;
    QColor m_disabledBorderColor;

    LayerState m_presented;
    LayerState m_from;
    LayerState m_to;
    QVariantAnimation* m_animation = nullptr;
    QHash<QString, BindingInfo> m_bindings;
};
