#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

// Asks a receiver to start its casting application: POST {"key":"ACTION_CAST"} to /ws on port
// 5000. The address is kept and replaced by the receiver's answer text when one arrives.
// Made through create(): a request in flight keeps its object alive until its completion has
// run, so the answer is stored even when the caller lets the object go at once.
class TriggerCastingApp : public QObject, public std::enable_shared_from_this<TriggerCastingApp>
{
    Q_OBJECT
public:
    static std::shared_ptr<TriggerCastingApp> create();

    void triggerCastService(const std::optional<QString>& selectedDeviceIP);
    std::optional<QString> obtainedDeviceIP() const { return m_obtainedDeviceIP; }

signals:
    // Emitted after the answer has been stored (observers and tests).
    void obtainedDeviceIPChanged();

private:
    TriggerCastingApp() = default;

    std::optional<QString> m_obtainedDeviceIP;
};
