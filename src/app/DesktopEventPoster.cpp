#include "DesktopEventPoster.h"

#include "platform/Logging.h"
#include "platform/UnsupportedDesktopPoster.h"
#include "platform/wayland/MutterRemoteDesktopPoster.h"
#include "platform/wayland/PortalRemoteDesktopPoster.h"
#include "platform/wayland/WlrVirtualPointerPoster.h"
#include "platform/x11/XTestEventPoster.h"

DesktopEventPoster::DesktopEventPoster(QObject* parent)
    : QObject(parent)
{ }

DesktopEventPoster::~DesktopEventPoster() = default;

void DesktopEventPoster::prepare()
{
    if (m_backend)
        return m_backend->prepare();
    if (m_choosing)
        return;
    m_choosing = true;
    DesktopSession::choose(DesktopSession::Environment::current(), this,
        [this](const DesktopSession::Choice& choice) { use(choice); });
}

void DesktopEventPoster::finish()
{
    if (m_backend)
        return m_backend->finish();
    m_pending.discard("touchback stopped");
}

void DesktopEventPoster::use(const DesktopSession::Choice& choice)
{
    using DesktopSession::Backend;
    switch (choice.backend) {
    case Backend::XTest: {
        static XTestEventPoster xtest;
        m_backend = &xtest;
        break;
    }
    case Backend::MutterRemoteDesktop:
        m_ownedBackend = std::make_unique<MutterRemoteDesktopPoster>();
        break;
    case Backend::RemoteDesktopPortal:
        m_ownedBackend = std::make_unique<PortalRemoteDesktopPoster>();
        break;
    case Backend::WlrVirtualPointer:
        m_ownedBackend = std::make_unique<WlrVirtualPointerPoster>();
        break;
    case Backend::None:
        m_ownedBackend = std::make_unique<UnsupportedDesktopPoster>(choice.reason);
        break;
    }
    if (m_ownedBackend)
        m_backend = m_ownedBackend.get();
    if (choice.backend != Backend::None)
        qCInfo(lcInput).noquote() << "Touches are posted with"
                                  << DesktopSession::nameOf(choice.backend);
    m_backend->prepare();
    m_pending.replay([this](const MouseEvent& event) { m_backend->postMouseEvent(event); });
    Q_EMIT backendChosen(choice.backend);
}

std::optional<KeyEvent> DesktopEventPoster::createKeyEvent(std::uint16_t keyCode, bool down)
{
    if (m_backend)
        return m_backend->createKeyEvent(keyCode, down);
    return std::nullopt; // no keys before the desktop is known
}

void DesktopEventPoster::postMouseEvent(const MouseEvent& event)
{
    if (m_backend)
        return m_backend->postMouseEvent(event);
    prepare();
    if (m_backend) // the choice can be made at once (X11, or no session at all)
        return m_backend->postMouseEvent(event);
    m_pending.push(event);
}

void DesktopEventPoster::postKeyEvent(const KeyEvent& event)
{
    if (m_backend)
        m_backend->postKeyEvent(event);
}

std::optional<QSizeF> DesktopEventPoster::mainScreenSize()
{
    return m_backend ? m_backend->mainScreenSize() : MouseEventPoster::mainScreenSize();
}
