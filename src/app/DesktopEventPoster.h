#pragma once

#include "platform/DesktopSession.h"
#include "platform/MouseEventPoster.h"
#include "platform/PointerEventQueue.h"

#include <QObject>

#include <memory>

// The poster the application installs. At the first touchback start (prepare()) it finds out
// which desktop it runs on (DesktopSession::choose, without blocking), makes the matching
// backend, logs one line naming it (or one warning that touches cannot be posted here), and
// from then on hands everything to it. Touches posted before the choice is made wait for it.
class DesktopEventPoster final : public QObject, public MouseEventPoster
{
    Q_OBJECT
public:
    explicit DesktopEventPoster(QObject* parent = nullptr);
    ~DesktopEventPoster() override;

    void prepare() override;
    void finish() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;
    std::optional<QSizeF> mainScreenSize() override;

    // The chosen backend; nullptr until the choice is made.
    MouseEventPoster* backend() const { return m_backend; }

Q_SIGNALS:
    void backendChosen(DesktopSession::Backend backend);

private:
    void use(const DesktopSession::Choice& choice);

    MouseEventPoster* m_backend = nullptr;
    std::unique_ptr<MouseEventPoster> m_ownedBackend; // all but the process-wide XTest poster
    PointerEventQueue m_pending;
    bool m_choosing = false;
};
