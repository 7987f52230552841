#pragma once

#include <QString>

// Shows a modal alert with a message, an informative text and one "OK" button, and returns
// only when the user has closed it.
class AlertPresenter
{
public:
    virtual ~AlertPresenter() = default;
    virtual void present(const QString& message, const QString& informativeText) = 0;
};
