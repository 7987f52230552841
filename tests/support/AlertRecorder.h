#pragma once

#include "platform/AlertPresenter.h"

#include <QList>
#include <QString>

#include <functional>

// Replaces the modal alert for the lifetime of the object; every alert is recorded and
// answered at once, as if the user had pressed "OK".
class AlertRecorder : public AlertPresenter
{
public:
    struct Alert
    {
        QString message;
        QString informativeText;
        bool operator==(const Alert&) const = default;
    };

    AlertRecorder();
    ~AlertRecorder() override;

    void present(const QString& message, const QString& informativeText) override;

    const QList<Alert>& alerts() const { return m_alerts; }
    void clear() { m_alerts.clear(); }

    // Runs while the alert is "open" (inside its modal session), before it is answered.
    std::function<void()> whileOpen;

private:
    QList<Alert> m_alerts;
};
