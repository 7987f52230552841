#pragma once

class QString;

// What the receiver list tells the dashboard. Hand-overs are always address, address code,
// display name, in that order.
class DevicesListViewControllerDelegate
{
public:
    virtual ~DevicesListViewControllerDelegate() = default;
    virtual void didPickCastingDeviceWithIP(
        const QString& ip, const QString& hex, const QString& name)
        = 0;
    virtual void deviceDisconnecetd() = 0;
};
