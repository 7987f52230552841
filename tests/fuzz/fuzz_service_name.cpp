// Service names from anyone on the network, through the Found, Resolved and Removed steps of
// the receiver list, fed by the fake browser. A two-piece name or a short address code raises
// a range error by design: it is reported as an uncaught exception in the log and the
// application goes on, so such reports are expected here; anything else that escapes, or any
// memory error, is a finding.
#include "FakeServiceBrowser.h"
#include "FuzzApplication.h"

#include "discovery/DevicesListViewController.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace {
// The lists keep names that were removed (ORVENTA and Brevik receivers stay listed) and each
// listed row is a widget, so the controller is renewed once a few rows have gathered. Renewing
// costs far more than an input, so it is not done every time.
constexpr qsizetype kMaxRows = 8;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::application();
    static std::unique_ptr<DevicesListViewController>& controller
        = *new std::unique_ptr<DevicesListViewController>; // never destroyed, see application()
    FakeServiceBrowser* browser = controller ? FakeServiceBrowser::of(controller.get()) : nullptr;
    if (!browser || controller->zentrixDeviceNames().size() > kMaxRows) {
        FakeServiceBrowser::install();
        controller.reset();
        controller = std::make_unique<DevicesListViewController>();
        controller->loadViewIfNeeded();
        browser = FakeServiceBrowser::of(controller.get());
    }
    if (!browser)
        __builtin_trap();

    // DNS-SD names are UTF-8; Avahi hands over whatever bytes were announced.
    const QString name = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    browser->find(name);
    browser->resolvePending(name);
    browser->remove(name);
    // Nothing of this input may stay behind, or the fuzzer's leak check would run after each.
    browser->forgetResolveRequests();
    return 0;
}
