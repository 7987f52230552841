#pragma once

#include <QString>

class AlertPresenter;

namespace Alerts {

// Runs a modal alert to completion. While it is open, ModalState reports a modal session.
void run(const QString& message, const QString& informativeText);

// Replaces the presenter (tests install a recorder). Passing nullptr restores the message box.
// The caller keeps ownership.
void setPresenter(AlertPresenter* presenter);

} // namespace Alerts
