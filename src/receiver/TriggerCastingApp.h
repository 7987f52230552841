#pragma once

#include <QObject>
#include <QString>

#include <optional>

// Asks a receiver to start its casting application: POST {"key":"ACTION_CAST"} to /ws on port
// 5000. The address is kept and replaced by the receiver's answer text when one arrives.
class TriggerCastingApp : public QObject
{
    Q_OBJECT
public:
    explicit TriggerCastingApp(QObject* parent = nullptr);

    void triggerCastService(const std::optional<QString>& selectedDeviceIP);
    std::optional<QString> obtainedDeviceIP() const { return m_obtainedDeviceIP; }

signals:
    // Emitted after the answer has been stored (observers and tests).
    void obtainedDeviceIPChanged();

private:
    std::optional<QString> m_obtainedDeviceIP;
};
