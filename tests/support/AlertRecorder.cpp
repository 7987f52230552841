#include "AlertRecorder.h"

#include "platform/Alerts.h"

AlertRecorder::AlertRecorder()
{
    Alerts::setPresenter(this);
}

AlertRecorder::~AlertRecorder()
{
    Alerts::setPresenter(nullptr);
}

void AlertRecorder::present(const QString& message, const QString& informativeText)
{
    m_alerts.append({message, informativeText});
    if (whileOpen)
        whileOpen();
}
