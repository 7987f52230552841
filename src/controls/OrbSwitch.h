#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

// The sliding on/off switch. Target and action: the action is sent to the target only when the
// user changes the value (mouse release, keyboard, accessibility), never from setChecked().
//
// NOTE FOR IMPLEMENTERS: the members below are the contract the dashboard codes against;
// add what the control needs, but keep these signatures.
class OrbSwitch : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool checked READ checked WRITE setChecked)
public:
    explicit OrbSwitch(QWidget* parent = nullptr);
    ~OrbSwitch() override;

    bool checked() const;
    void setChecked(bool checked);

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

private:
    QPointer<QObject> m_target;
    std::function<void(OrbSwitch*)> m_action;
};
