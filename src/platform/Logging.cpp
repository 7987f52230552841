#include "Logging.h"

Q_LOGGING_CATEGORY(lcApp, "orventa.app", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDiscovery, "orventa.discovery", QtInfoMsg)
Q_LOGGING_CATEGORY(lcDashboard, "orventa.dashboard", QtInfoMsg)
Q_LOGGING_CATEGORY(lcReceiver, "orventa.receiver", QtInfoMsg)
Q_LOGGING_CATEGORY(lcInput, "orventa.input", QtInfoMsg)
Q_LOGGING_CATEGORY(lcControls, "orventa.controls", QtInfoMsg)
Q_LOGGING_CATEGORY(lcPlatform, "orventa.platform", QtInfoMsg)
