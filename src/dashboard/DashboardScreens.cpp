// The screen actions of the dashboard: the receiver list and the settings as popovers.
#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "app/Storyboard.h"
#include "app/ZentrixSettingsViewController.h"
#include "dashboard/PopoverWindow.h"
#include "discovery/DevicesListViewController.h"
#include "platform/Logging.h"

void DashboardViewController::connectButtonClicked()
{
    showDevicesList();
}

void DashboardViewController::devicesListIconClicked()
{
    showDevicesList();
}

void DashboardViewController::castButtonClicked()
{
    beginScreenCast();
}

namespace {
// Room for the list's header, four receivers and its disconnect button.
constexpr QSize kDevicesListSize(340, 380);
} // namespace

void DashboardViewController::showDevicesList()
{
    if (!m_devicesListController) {
        QWidget* made = Storyboard::named(QStringLiteral("Main"))
                            .instantiateControllerWithIdentifier(
                                QStringLiteral("DevicesListController"), this);
        m_devicesListController = qobject_cast<DevicesListViewController*>(made);
    }
    if (m_devicesListController)
        m_devicesListController->setDelegate(this);
    QToolButton* anchor = ui->devicesListIcon;
    presentViewControllerAsPopover(
        m_devicesListController, anchor ? anchor->rect() : QRect(), anchor);
}

void DashboardViewController::settingsIconClicked()
{
    if (!m_settingsController) {
        QWidget* made = Storyboard::named(QStringLiteral("Main"))
                            .instantiateControllerWithIdentifier(
                                QStringLiteral("SettingsViewController"), this);
        m_settingsController = qobject_cast<ZentrixSettingsViewController*>(made);
    }
    QToolButton* anchor = ui->settingsIcon;
    presentViewControllerAsPopover(m_settingsController, anchor ? anchor->rect() : QRect(), anchor);
}

void DashboardViewController::presentViewControllerAsPopover(
    QWidget* controller, const QRect& rect, QWidget* view)
{
    if (!controller) {
        qCWarning(lcDashboard) << "No controller to present";
        return;
    }
    auto* popover = qobject_cast<PopoverWindow*>(popoverFor(controller));
    if (!popover) {
        popover = new PopoverWindow(this);
        popover->setContentViewController(controller);
        if (qobject_cast<DevicesListViewController*>(controller))
            popover->setPreferredContentSize(kDevicesListSize);
    }
    popover->showRelativeTo(
        rect, view, PopoverWindow::PreferredEdge::MaxY, PopoverWindow::Behavior::Semitransient);
}

QWidget* DashboardViewController::popoverFor(QWidget* controller) const
{
    if (!controller)
        return nullptr;
    return qobject_cast<PopoverWindow*>(controller->parentWidget());
}

LayerView* DashboardViewController::dashboardParentView() const
{
    return ui->dashboardParentView;
}
LayerView* DashboardViewController::castButtonView() const
{
    return ui->castButtonView;
}
QAbstractButton* DashboardViewController::castButton() const
{
    return ui->castButton;
}
OrbSwitch* DashboardViewController::wirelessTouchSwitch() const
{
    return ui->wirelessTouchSwitch;
}
QLabel* DashboardViewController::wirelessTouchStatusLabel() const
{
    return ui->wirelessTouchStatusLabel;
}
LayerView* DashboardViewController::toolbarView() const
{
    return ui->toolbarView;
}
QToolButton* DashboardViewController::devicesListIcon() const
{
    return ui->devicesListIcon;
}
QToolButton* DashboardViewController::settingsIcon() const
{
    return ui->settingsIcon;
}
QPushButton* DashboardViewController::connectButton() const
{
    return ui->connectButton;
}
QLabel* DashboardViewController::deviceStatusLabel() const
{
    return ui->deviceStatusLabel;
}
QPushButton* DashboardViewController::fileUploadButton() const
{
    return ui->fileUploadButton;
}
AssetImageView* DashboardViewController::uploadArrowImage() const
{
    return ui->uploadArrowImage;
}
MaskingView* DashboardViewController::maskView() const
{
    return ui->maskView;
}
LayerView* DashboardViewController::hdmiToggleView() const
{
    return ui->hdmiToggleView;
}
QWidget* DashboardViewController::emptyStateImageView() const
{
    return ui->emptyStateImageView;
}
QWidget* DashboardViewController::hdmiMessageView() const
{
    return ui->hdmiMessageView;
}
QLabel* DashboardViewController::facingProblemLabel() const
{
    return ui->facingProblemLabel;
}
QLabel* DashboardViewController::enableHDMILabel() const
{
    return ui->enableHDMILabel;
}
QLabel* DashboardViewController::deviceHDMIMainLabel() const
{
    return ui->deviceHDMIMainLabel;
}
QLabel* DashboardViewController::deviceHDMISubLabel() const
{
    return ui->deviceHDMISubLabel;
}
QLabel* DashboardViewController::dragAndDropLabel() const
{
    return ui->dragAndDropLabel;
}
QLabel* DashboardViewController::emptyStateLabel() const
{
    return ui->emptyStateLabel;
}
