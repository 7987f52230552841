#pragma once

#include "platform/MouseEventPoster.h"
#include "platform/PointerEventQueue.h"

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class WaylandConnection;
struct wl_output;
struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;

// Posts the pointer on wlroots compositors (Sway, Hyprland, labwc, river, Wayfire) through
// their virtual pointer protocol, on a Wayland connection of its own. With version 2 of the
// manager the pointer is bound to the output that holds the application's window, and
// positions are given within that output; otherwise within the whole layout of outputs. Each
// motion and button is followed by a frame. The compositor asks the user nothing and shows
// nothing. Touches made before the pointer exists, or while the compositor does not read fast
// enough, wait in a PointerEventQueue. Key events are not posted.
class WlrVirtualPointerPoster final : public QObject, public MouseEventPoster
{
    Q_OBJECT
public:
    explicit WlrVirtualPointerPoster(QObject* parent = nullptr);
    ~WlrVirtualPointerPoster() override;

    void prepare() override;
    std::optional<KeyEvent> createKeyEvent(std::uint16_t keyCode, bool down) override;
    void postMouseEvent(const MouseEvent& event) override;
    void postKeyEvent(const KeyEvent& event) override;

    bool isRunning() const { return m_pointer != nullptr; }

Q_SIGNALS:
    void started(); // the virtual pointer exists: touches now reach the desktop
    void failed(); // no virtual pointer could be made (logged)

private:
    struct Output
    {
        wl_output* output = nullptr;
        QString name;
    };

    void connectToCompositor();
    void createPointer();
    wl_output* outputOfMainScreen() const;
    void send(const MouseEvent& event);
    void sendQueued();
    void close();

    std::unique_ptr<WaylandConnection> m_connection;
    zwlr_virtual_pointer_manager_v1* m_manager = nullptr;
    zwlr_virtual_pointer_v1* m_pointer = nullptr;
    std::vector<std::unique_ptr<Output>> m_outputs;
    bool m_boundToOutput = false;
    bool m_unavailable = false; // said why once; tried again at the next prepare()
    PointerEventQueue m_queue;
};
