#pragma once

#include "MouseEventPoster.h"

#include <QString>

// The poster for a desktop where touches cannot be posted: at the first touchback start it
// logs one warning saying so and why; posts do nothing and the application goes on.
class UnsupportedDesktopPoster final : public MouseEventPoster
{
public:
    explicit UnsupportedDesktopPoster(QString reason);

    void prepare() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;

private:
    QString m_reason;
    bool m_warned = false;
};
