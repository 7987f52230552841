#include "OrbSwitchAccessible.h"

#include "OrbSwitch.h"

namespace {
QAccessibleInterface* orbSwitchFactory(const QString& className, QObject* object)
{
    if (className == QLatin1String("OrbSwitch") && object && object->isWidgetType())
        return new OrbSwitchAccessible(static_cast<OrbSwitch*>(object));
    return nullptr;
}
} // namespace

OrbSwitchAccessible::OrbSwitchAccessible(OrbSwitch* orbSwitch)
    : QAccessibleWidget(orbSwitch, QAccessible::CheckBox)
{ }

void OrbSwitchAccessible::installFactory()
{
    static const bool installed = [] {
        QAccessible::installFactory(orbSwitchFactory);
        return true;
    }();
    Q_UNUSED(installed);
}

OrbSwitch* OrbSwitchAccessible::orbSwitch() const
{
    return static_cast<OrbSwitch*>(widget());
}

void* OrbSwitchAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ValueInterface)
        return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State OrbSwitchAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.checkable = true;
    state.checked = orbSwitch()->checked();
    return state;
}

QString OrbSwitchAccessible::text(QAccessible::Text t) const
{
    if (t == QAccessible::Value)
        return QString::number(int(orbSwitch()->checked()));
    return QAccessibleWidget::text(t);
}

QStringList OrbSwitchAccessible::actionNames() const
{
    QStringList names = QAccessibleWidget::actionNames();
    if (!names.contains(pressAction()))
        names << pressAction();
    return names;
}

void OrbSwitchAccessible::doAction(const QString& actionName)
{
    if (actionName == pressAction()) {
        orbSwitch()->setChecked(!orbSwitch()->checked());
        orbSwitch()->invokeTargetAction();
        return;
    }
    QAccessibleWidget::doAction(actionName);
}

QStringList OrbSwitchAccessible::keyBindingsForAction(const QString& actionName) const
{
    if (actionName == pressAction())
        return {QStringLiteral("Space")};
    return QAccessibleWidget::keyBindingsForAction(actionName);
}

QVariant OrbSwitchAccessible::currentValue() const
{
    return int(orbSwitch()->checked());
}

void OrbSwitchAccessible::setCurrentValue(const QVariant& value)
{
    const bool oldValue = orbSwitch()->checked();
    orbSwitch()->setChecked(value.toBool());
    if (orbSwitch()->checked() != oldValue)
        orbSwitch()->invokeTargetAction();
}
