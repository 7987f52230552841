#pragma once

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>

class OrbSwitch;

// Presents the switch to assistive technology as a check box: checked state, a value of 0 or 1
// that can be set, and press/toggle actions that change the value and send the switch's action.
// These work on a disabled switch too.
class OrbSwitchAccessible : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    explicit OrbSwitchAccessible(OrbSwitch* orbSwitch);

    // Makes QAccessible::queryAccessibleInterface() answer this class for every OrbSwitch.
    static void installFactory();

    void* interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;
    QString text(QAccessible::Text t) const override;
    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }

    QStringList actionNames() const override;
    void doAction(const QString& actionName) override;
    QStringList keyBindingsForAction(const QString& actionName) const override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override { return 1; }
    QVariant minimumValue() const override { return 0; }
    QVariant minimumStepSize() const override { return 1; }

private:
    OrbSwitch* orbSwitch() const;
};
