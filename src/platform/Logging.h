#pragma once

#include <QLoggingCategory>

// One category per subsystem; the controllers and views write their diagnostic lines here.
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcDiscovery)
Q_DECLARE_LOGGING_CATEGORY(lcDashboard)
Q_DECLARE_LOGGING_CATEGORY(lcReceiver)
Q_DECLARE_LOGGING_CATEGORY(lcInput)
Q_DECLARE_LOGGING_CATEGORY(lcControls)
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
