#include "WlrVirtualPointerPoster.h"

#include "platform/Logging.h"
#include "platform/MainScreen.h"
#include "platform/WaylandConnection.h"

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <QScreen>

#include <algorithm>
#include <chrono>
#include <cmath>

namespace {
const QString kManager = QStringLiteral("zwlr_virtual_pointer_manager_v1");
constexpr uint32_t kLeftButton = 272; // BTN_LEFT
constexpr double kSubpixel = 100.0; // positions are integers within the extent

uint32_t nowMs()
{
    // The clock of the compositor's input events (CLOCK_MONOTONIC), for double-click timing.
    return uint32_t(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch())
                        .count());
}

void outputGeometry(void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*,
    const char*, int32_t)
{ }
void outputMode(void*, wl_output*, uint32_t, int32_t, int32_t, int32_t)
{ }
void outputDone(void*, wl_output*)
{ }
void outputScale(void*, wl_output*, int32_t)
{ }
} // namespace

WlrVirtualPointerPoster::WlrVirtualPointerPoster(QObject* parent)
    : QObject(parent)
{ }

WlrVirtualPointerPoster::~WlrVirtualPointerPoster()
{
    close();
}

void WlrVirtualPointerPoster::close()
{
    if (m_pointer)
        zwlr_virtual_pointer_v1_destroy(m_pointer);
    if (m_manager)
        zwlr_virtual_pointer_manager_v1_destroy(m_manager);
    for (const auto& output : m_outputs)
        wl_output_release(output->output);
    m_pointer = nullptr;
    m_manager = nullptr;
    m_outputs.clear();
    m_connection.reset(); // flushes and disconnects
}

void WlrVirtualPointerPoster::prepare()
{
    m_unavailable = false; // each touchback start tries again
    if (!m_connection)
        connectToCompositor();
}

void WlrVirtualPointerPoster::connectToCompositor()
{
    m_connection = std::make_unique<WaylandConnection>();
    const bool opened = m_connection->open(
        [this](wl_registry* registry, const QString& interface, WaylandConnection::Global global) {
            if (interface == kManager) {
                m_manager = static_cast<zwlr_virtual_pointer_manager_v1*>(wl_registry_bind(registry,
                    global.name, &zwlr_virtual_pointer_manager_v1_interface,
                    std::min<uint32_t>(global.version, 2)));
            } else if (interface == QLatin1String("wl_output") && global.version >= 4) {
                // Version 4 says the output's name, which is how Qt names the screen.
                static const wl_output_listener listener {outputGeometry, outputMode, outputDone,
                    outputScale,
                    [](void* data, wl_output*, const char* name) {
                        static_cast<Output*>(data)->name = QString::fromUtf8(name);
                    },
                    [](void*, wl_output*, const char*) {}};
                auto output = std::make_unique<Output>();
                output->output = static_cast<wl_output*>(
                    wl_registry_bind(registry, global.name, &wl_output_interface, 4));
                wl_output_add_listener(output->output, &listener, output.get());
                m_outputs.push_back(std::move(output));
            }
        });
    if (!opened) {
        m_connection.reset();
        m_unavailable = true;
        qCWarning(lcInput) << "Cannot connect to the Wayland compositor; touches are not posted";
        m_queue.discard("no Wayland compositor");
        Q_EMIT failed();
        return;
    }
    connect(m_connection.get(), &WaylandConnection::lost, this, [this] {
        qCWarning(lcInput) << "Lost the virtual pointer; it is made anew at the next touchback "
                              "start";
        m_queue.discard("the compositor connection was lost");
        m_unavailable = true;
        // Not from within the connection's own signal.
        QMetaObject::invokeMethod(this, &WlrVirtualPointerPoster::close, Qt::QueuedConnection);
    });
    // The outputs' names arrive after the first round of globals.
    connect(m_connection.get(), &WaylandConnection::ready, this,
        [this] { m_connection->whenSynced([this] { createPointer(); }); });
}

wl_output* WlrVirtualPointerPoster::outputOfMainScreen() const
{
    const QScreen* screen = MainScreen::current();
    if (!screen)
        return nullptr;
    for (const auto& output : m_outputs)
        if (output->name == screen->name())
            return output->output;
    return nullptr;
}

void WlrVirtualPointerPoster::createPointer()
{
    if (!m_manager) {
        qCWarning(lcInput) << "The compositor does not offer" << kManager
                           << "- touches are not posted";
        m_queue.discard("no virtual pointer");
        m_unavailable = true;
        QMetaObject::invokeMethod(this, &WlrVirtualPointerPoster::close, Qt::QueuedConnection);
        Q_EMIT failed();
        return;
    }
    wl_output* output = nullptr;
    if (zwlr_virtual_pointer_manager_v1_get_version(m_manager) >= 2)
        output = outputOfMainScreen();
    m_boundToOutput = output != nullptr;
    m_pointer = output ? zwlr_virtual_pointer_manager_v1_create_virtual_pointer_with_output(
                    m_manager, nullptr, output)
                       : zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_manager, nullptr);
    qCInfo(lcInput).noquote() << "wlroots virtual pointer created"
                              << (output ? "on the output holding the window"
                                         : "over the whole desktop")
                              << "- touches are posted";
    m_connection->flush();
    m_queue.replay([this](const MouseEvent& event) { postMouseEvent(event); });
    connect(m_connection.get(), &WaylandConnection::flushed, this,
        &WlrVirtualPointerPoster::sendQueued);
    Q_EMIT started();
}

std::optional<KeyEvent> WlrVirtualPointerPoster::createKeyEvent(std::uint16_t, bool)
{
    return std::nullopt; // only the pointer is posted on Wayland desktops
}

void WlrVirtualPointerPoster::postKeyEvent(const KeyEvent&)
{ }

void WlrVirtualPointerPoster::postMouseEvent(const MouseEvent& event)
{
    if (m_unavailable)
        return; // already said why
    if (!m_connection)
        connectToCompositor();
    // Written only when the socket took everything before: the connection's buffer is small.
    if (!m_pointer || m_connection->isBlocked() || !m_queue.isEmpty())
        return m_queue.push(event);
    send(event);
}

void WlrVirtualPointerPoster::sendQueued()
{
    while (m_pointer && !m_connection->isBlocked()) {
        const std::optional<MouseEvent> event = m_queue.takeFirst();
        if (!event)
            return;
        send(*event);
    }
}

void WlrVirtualPointerPoster::send(const MouseEvent& event)
{
    const QScreen* screen = MainScreen::current();
    if (!screen)
        return;
    // Bound to the output: positions within it. Otherwise within the box of all outputs.
    const QRect area = m_boundToOutput ? screen->geometry() : screen->virtualGeometry();
    const QPointF at = event.point + screen->geometry().topLeft() - area.topLeft();
    const uint32_t time = nowMs();
    zwlr_virtual_pointer_v1_motion_absolute(m_pointer, time,
        uint32_t(std::lround(std::clamp(at.x(), 0.0, double(area.width())) * kSubpixel)),
        uint32_t(std::lround(std::clamp(at.y(), 0.0, double(area.height())) * kSubpixel)),
        uint32_t(area.width() * kSubpixel), uint32_t(area.height() * kSubpixel));
    zwlr_virtual_pointer_v1_frame(m_pointer);
    if (event.kind == MouseEventKind::LeftDown || event.kind == MouseEventKind::LeftUp) {
        zwlr_virtual_pointer_v1_button(m_pointer, time, kLeftButton,
            event.kind == MouseEventKind::LeftDown ? WL_POINTER_BUTTON_STATE_PRESSED
                                                   : WL_POINTER_BUTTON_STATE_RELEASED);
        zwlr_virtual_pointer_v1_frame(m_pointer);
    }
    m_connection->flush();
}
