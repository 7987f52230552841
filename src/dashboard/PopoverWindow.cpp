#include "PopoverWindow.h"

#include "platform/Logging.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

namespace {
constexpr int kCornerRadius = 12;
constexpr int kPadding = 1;
const QColor kBorderColor(0xB8, 0xC3, 0xCD);

// A Wayland client cannot place a window of its own; only a pop-up (xdg_popup) is placed by the
// compositor relative to its parent window.
bool placedByCompositor()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

Qt::WindowFlags popoverFlags()
{
    return (placedByCompositor() ? Qt::Popup : Qt::Tool) | Qt::FramelessWindowHint;
}
} // namespace

PopoverWindow::PopoverWindow(QWidget* parent)
    : QWidget(parent, popoverFlags())
    , m_isPopup(placedByCompositor())
{
    setObjectName(QStringLiteral("popover"));
    // Every Wayland compositor blends, so the corners and the arrow's sides show what is below.
    if (m_isPopup)
        setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kPadding, kArrowHeight + kPadding, kPadding, kPadding);
    layout->setSpacing(0);
    setAttribute(Qt::WA_DeleteOnClose, false);
}

PopoverWindow::~PopoverWindow()
{
    qApp->removeEventFilter(this);
}

void PopoverWindow::setContentViewController(QWidget* controller)
{
    if (m_content == controller)
        return;
    if (m_content)
        layout()->removeWidget(m_content);
    m_content = controller;
    if (controller) {
        controller->setParent(this);
        layout()->addWidget(controller);
        controller->show();
    }
}

void PopoverWindow::showRelativeTo(
    const QRect& rect, QWidget* anchor, PreferredEdge edge, Behavior behavior)
{
    if (edge != PreferredEdge::MaxY)
        qCInfo(lcDashboard) << "Popover edge" << int(edge) << "shown at the bottom edge";
    m_anchor = anchor;
    m_anchorRect = rect;
    m_behavior = behavior;
    adjustSize();
    if (!m_preferredContentSize.isEmpty())
        resize(m_preferredContentSize.grownBy(layout()->contentsMargins()));
    reposition();
    qApp->installEventFilter(this);
    show();
    if (!m_isPopup) {
        raise();
        activateWindow();
    }
    if (m_content)
        m_content->setFocus(Qt::PopupFocusReason);
    focusNextChild();
}

void PopoverWindow::reposition()
{
    QWidget* host = parentWidget() ? parentWidget()->window() : nullptr;
    QPoint tip;
    if (m_anchor) {
        // The bottom edge of the anchor: the popover opens just below the icon.
        const QRect r = m_anchorRect.isNull() ? QRect() : m_anchorRect;
        tip = m_anchor->mapToGlobal(QPoint(r.center().x(), r.bottom() + 1));
    } else if (host) {
        tip = host->mapToGlobal(QPoint(host->width() / 2, 0));
    }
    int x = tip.x() - width() / 2;
    QRect bounds = host ? QRect(host->mapToGlobal(QPoint(0, 0)), host->size()) : QRect();
    if (const QScreen* screen = host ? host->screen() : QGuiApplication::primaryScreen())
        bounds = bounds.isEmpty() ? screen->availableGeometry() : bounds;
    if (!bounds.isEmpty()) {
        x = std::min(x, bounds.right() - 8 - width());
        x = std::max(x, bounds.left() + 8);
    }
    move(x, tip.y() + 2);
    m_arrowX = std::clamp(
        tip.x() - x, kCornerRadius + kArrowHalfWidth, width() - kCornerRadius - kArrowHalfWidth);
    updateMask();
    update();
}

QPainterPath PopoverWindow::outline() const
{
    QPainterPath path;
    const QRectF body(0, kArrowHeight, width(), height() - kArrowHeight);
    path.addRoundedRect(body, kCornerRadius, kCornerRadius);
    QPainterPath arrow;
    arrow.moveTo(m_arrowX - kArrowHalfWidth, kArrowHeight + 1);
    arrow.lineTo(m_arrowX, 0);
    arrow.lineTo(m_arrowX + kArrowHalfWidth, kArrowHeight + 1);
    arrow.closeSubpath();
    return path.united(arrow);
}

void PopoverWindow::updateMask()
{
    // A shaped window rather than a translucent one: it needs no compositor.
    setMask(QRegion(outline().toFillPolygon().toPolygon()));
}

void PopoverWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath inner = outline();
    if (m_isPopup)
        painter.fillPath(inner, kBorderColor);
    else
        painter.fillRect(rect(), kBorderColor);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.translate(0.5, 0.5);
    painter.scale((width() - 1.5) / width(), (height() - 1.5) / height());
    painter.drawPath(inner);
}

bool PopoverWindow::isInMainWindow(QObject* object) const
{
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget || !parentWidget())
        return false;
    return widget->window() == parentWidget()->window() && !isAncestorOf(widget);
}

bool PopoverWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (!isVisible() || m_behavior == Behavior::ApplicationDefined)
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        // Acting in the main window closes a semitransient popover; other applications do not.
        if (isInMainWindow(watched))
            close();
        break;
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && isInMainWindow(watched))
            close();
        break;
    case QEvent::Move:
    case QEvent::Resize:
        if (!parentWidget() || watched != parentWidget()->window())
            break;
        // A pop-up on Wayland keeps the place it was given when it opened.
        if (m_isPopup)
            close();
        else
            reposition();
        break;
    case QEvent::Hide:
        if (parentWidget() && watched == parentWidget()->window())
            close();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void PopoverWindow::mousePressEvent(QMouseEvent* event)
{
    // A pop-up sees every press in the application. One outside the popover closes it and then
    // goes on to the main window, which on X11 gets such a press directly.
    if (m_isPopup && !outline().contains(event->position())) {
        close();
        passPressToMainWindow(*event);
        return;
    }
    QWidget::mousePressEvent(event);
}

void PopoverWindow::passPressToMainWindow(const QMouseEvent& event) const
{
    QWidget* host = parentWidget() ? parentWidget()->window() : nullptr;
    QWindow* window = host ? host->windowHandle() : nullptr;
    if (!window)
        return;
    const QPoint global = event.globalPosition().toPoint();
    const QPoint local = window->mapFromGlobal(global);
    if (!QRect(QPoint(0, 0), window->size()).contains(local))
        return;
    // Delivered at once, not posted: the release that follows may already wait in the queue.
    QMouseEvent press(QEvent::MouseButtonPress, local, local, global, event.button(),
        event.buttons(), event.modifiers(), event.pointingDevice());
    QCoreApplication::sendEvent(window, &press);
}

void PopoverWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PopoverWindow::hideEvent(QHideEvent* event)
{
    qApp->removeEventFilter(this);
    QWidget::hideEvent(event);
    // The keyboard goes back to the main window by itself when a pop-up closes.
    if (!m_isPopup && m_anchor && m_anchor->window()->isVisible())
        m_anchor->window()->activateWindow();
    emit closed();
}
