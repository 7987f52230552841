#pragma once

// Fills the storyboard "Main" with its three screens: "DashboardViewController",
// "DevicesListController" and "SettingsViewController". Safe to call more than once.
namespace MainStoryboard {
void registerControllers();
}
