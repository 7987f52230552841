// The address code of a service name: hexValue, the split into four two-digit pieces (a range
// error for a code shorter than eight characters, which is the described behaviour) and the
// dotted formatting. A piece reads as "%x" reads it, sign included ("-1" is 0xffffffff and
// prints as -1), so only the shape of the result is checked: four numbers, three dots.
#include "FuzzApplication.h"

#include "discovery/DevicesListViewController.h"
#include "discovery/HexValue.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::application();
    // Its view never loads, so nothing is browsed; kept for the whole run, like the application.
    static DevicesListViewController& controller = *new DevicesListViewController;
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    (void)hexValue(text);
    QStringList pieces;
    try {
        pieces = controller.hexArrayFromString(text);
    } catch (const std::out_of_range&) {
        if (text.size() >= 8)
            __builtin_trap(); // a code of eight characters or more always splits
        return 0;
    }
    const QString address = controller.formattedStringFromAddressComponents(pieces);
    if (pieces.size() != 4 || address.count(QLatin1Char('.')) != 3)
        __builtin_trap();
    return 0;
}
