#pragma once

#include "AlertPresenter.h"

// The desktop's own modal alert: a warning message box with a single "OK" button.
class MessageBoxAlertPresenter : public AlertPresenter
{
public:
    void present(const QString& message, const QString& informativeText) override;
};
