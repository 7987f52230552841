#include "UnsupportedDesktopPoster.h"

#include "Logging.h"

UnsupportedDesktopPoster::UnsupportedDesktopPoster(QString reason)
    : m_reason(std::move(reason))
{ }

void UnsupportedDesktopPoster::prepare()
{
    if (m_warned)
        return;
    m_warned = true;
    qCWarning(lcInput).noquote() << "Touches cannot be posted on this desktop:" << m_reason
                                 << "- touchback is off";
}

std::optional<KeyEvent> UnsupportedDesktopPoster::createKeyEvent(std::uint16_t, bool)
{
    return std::nullopt;
}

void UnsupportedDesktopPoster::postMouseEvent(const MouseEvent&)
{
    prepare();
}

void UnsupportedDesktopPoster::postKeyEvent(const KeyEvent&)
{ }
