#pragma once

#include "platform/MouseEventPoster.h"

typedef struct _XDisplay Display;

// Posts mouse and key events with the XTest extension on the application's own X connection
// (or a connection of its own when the application does not run on xcb). Points are logical;
// they become X pixels through the main screen's device pixel ratio, with no origin offset.
// Without an X display (or without XTEST) it logs one warning and posts nothing; that is not
// a failed creation, so touch handling goes on.
class XTestEventPoster final : public MouseEventPoster
{
public:
    XTestEventPoster();
    ~XTestEventPoster() override;

    // Virtual key codes without an X key on this server cannot be created.
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;
    std::optional<QSizeF> mainScreenSize() override;

    // True when events go over the application's own X connection (the xcb platform).
    bool usesApplicationConnection();

private:
    Display* display();
    Display* connect();
    qreal pixelRatio();
    void pressModifiers(std::uint64_t flags, bool press);

    Display* m_display = nullptr;
    bool m_connected = false;
    bool m_ownsDisplay = false;
    qreal m_pixelRatio = 0; // from the last screen query; 0 until there was one
};

// Makes the process-wide XTestEventPoster the default poster and returns it. Call once after
// the QApplication exists.
XTestEventPoster& installXTestEventPoster();
