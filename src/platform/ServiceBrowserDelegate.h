#pragma once

class ServiceBrowser;
struct NetService;

// What a service browser reports; every call arrives on the main thread.
class ServiceBrowserDelegate
{
public:
    virtual ~ServiceBrowserDelegate() = default;
    virtual void serviceBrowserDidFindService(
        ServiceBrowser* browser, const NetService& service, bool moreComing)
        = 0;
    virtual void serviceBrowserDidRemoveService(
        ServiceBrowser* browser, const NetService& service, bool moreComing)
        = 0;
    virtual void serviceDidResolveAddress(const NetService& service) = 0;
};
