#include "MainStoryboard.h"

#include "Storyboard.h"
#include "ZentrixSettingsViewController.h"
#include "dashboard/DashboardViewController.h"
#include "discovery/DevicesListViewController.h"

namespace MainStoryboard {

void registerControllers()
{
    Storyboard& main = Storyboard::named(QStringLiteral("Main"));
    main.registerController(QStringLiteral("DashboardViewController"),
        [](QWidget* parent) { return new DashboardViewController(parent); });
    main.registerController(QStringLiteral("DevicesListController"),
        [](QWidget* parent) { return new DevicesListViewController(parent); });
    main.registerController(QStringLiteral("SettingsViewController"),
        [](QWidget* parent) { return new ZentrixSettingsViewController(parent); });
}

} // namespace MainStoryboard
