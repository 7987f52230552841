#include "Alerts.h"

#include "AlertPresenter.h"
#include "Logging.h"
#include "MessageBoxAlertPresenter.h"
#include "ModalState.h"

namespace Alerts {
namespace {
AlertPresenter*& presenterSlot()
{
    static AlertPresenter* presenter = nullptr;
    return presenter;
}
} // namespace

void run(const QString& message, const QString& informativeText)
{
    qCInfo(lcPlatform).noquote() << "Alert:" << message << "/" << informativeText;
    ModalState::Scope modal;
    if (AlertPresenter* presenter = presenterSlot()) {
        presenter->present(message, informativeText);
        return;
    }
    MessageBoxAlertPresenter box;
    box.present(message, informativeText);
}

void setPresenter(AlertPresenter* presenter)
{
    presenterSlot() = presenter;
}

} // namespace Alerts
