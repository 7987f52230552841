#include "DeviceTableView.h"

#include "DeviceTableViewDataSource.h"
#include "platform/CallbackBoundary.h"
#include "platform/Logging.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

#include <cmath>

DeviceTableView::DeviceTableView(QWidget* parent)
    : QAbstractScrollArea(parent)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    setFrameShape(QFrame::NoFrame);
}

DeviceTableView::~DeviceTableView() = default;

void DeviceTableView::registerViewFactory(
    const QString& identifier, std::function<QWidget*()> factory)
{
    m_factories.insert(identifier, std::move(factory));
}

QWidget* DeviceTableView::makeView(const QString& identifier)
{
    QList<QWidget*>& pool = m_pool[identifier];
    if (!pool.isEmpty())
        return pool.takeFirst();
    const auto factory = m_factories.value(identifier);
    if (!factory) {
        qCWarning(lcDiscovery) << "No row view registered for identifier" << identifier;
        return nullptr;
    }
    QWidget* view = factory();
    view->setParent(viewport());
    // Clicks are the table's: the row under the pointer is worked out from the position.
    view->setAttribute(Qt::WA_TransparentForMouseEvents);
    view->setFocusPolicy(Qt::StrongFocus);
    view->installEventFilter(this);
    m_identifiers.insert(view, identifier);
    return view;
}

void DeviceTableView::reloadData()
{
    const QList<int> rows = m_visible.keys();
    for (int row : rows)
        recycle(row);
    m_rowCount = m_dataSource ? m_dataSource->numberOfRowsInTableView(this) : 0;
    updateScrollRange();
    layoutRows();
}

QWidget* DeviceTableView::viewAt(int column, int row) const
{
    if (column != 0)
        return nullptr;
    return m_visible.value(row, nullptr);
}

int DeviceTableView::rowAt(const QPoint& viewportPos) const
{
    const qreal y = viewportPos.y() + verticalScrollBar()->value();
    if (y < 0 || viewportPos.x() < 0 || viewportPos.x() >= viewport()->width())
        return -1;
    const int row = static_cast<int>(std::floor(y / m_rowHeight));
    return row < m_rowCount ? row : -1;
}

void DeviceTableView::setRowHeight(qreal height)
{
    m_rowHeight = height;
    updateScrollRange();
    layoutRows();
}

void DeviceTableView::performClick(int row)
{
    m_clickedRow = row;
    m_clickedColumn = row >= 0 ? 0 : -1;
    if (m_action)
        CallbackBoundary::invoke(QStringLiteral("table row click"), m_action);
    m_clickedRow = -1;
    m_clickedColumn = -1;
}

bool DeviceTableView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() == Qt::LeftButton) {
            m_pressedRow = rowAt(mouse->position().toPoint());
            if (QWidget* view = m_visible.value(m_pressedRow, nullptr))
                view->setFocus(Qt::MouseFocusReason);
        }
    } else if (event->type() == QEvent::MouseButtonRelease) {
        auto* mouse = static_cast<QMouseEvent*>(event);
        const int row = rowAt(mouse->position().toPoint());
        if (mouse->button() == Qt::LeftButton && row == m_pressedRow)
            performClick(row);
        m_pressedRow = -2;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

bool DeviceTableView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const int row = rowOfView(watched);
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (row >= 0 && (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space)) {
            performClick(row);
            return true;
        }
        if (row >= 0 && (key == Qt::Key_Up || key == Qt::Key_Down)) {
            moveFocus(row, key == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

void DeviceTableView::scrollContentsBy(int, int)
{
    layoutRows();
}

void DeviceTableView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollRange();
    layoutRows();
}

QSize DeviceTableView::sizeHint() const
{
    return {320, static_cast<int>(m_rowHeight * 5)};
}

void DeviceTableView::layoutRows()
{
    const int top = verticalScrollBar()->value();
    const int height = viewport()->height();
    const int first = static_cast<int>(std::floor(top / m_rowHeight));
    const int last
        = std::min(m_rowCount - 1, static_cast<int>(std::floor((top + height - 1) / m_rowHeight)));
    const QList<int> shown = m_visible.keys();
    for (int row : shown) {
        if (row < first || row > last)
            recycle(row);
    }
    for (int row = std::max(first, 0); row <= last && m_dataSource; ++row) {
        QWidget* view = m_visible.value(row, nullptr);
        if (!view) {
            view = m_dataSource->tableViewViewForRow(this, 0, row);
            if (!view)
                continue;
            m_visible.insert(row, view);
        }
        const int y = static_cast<int>(std::lround(row * m_rowHeight)) - top;
        view->setGeometry(0, y, viewport()->width(), static_cast<int>(m_rowHeight));
        view->show();
    }
}

void DeviceTableView::recycle(int row)
{
    QWidget* view = m_visible.take(row);
    if (!view)
        return;
    view->hide();
    m_pool[m_identifiers.value(view)].append(view);
}

void DeviceTableView::updateScrollRange()
{
    const int content = static_cast<int>(std::ceil(m_rowCount * m_rowHeight));
    verticalScrollBar()->setRange(0, std::max(0, content - viewport()->height()));
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(static_cast<int>(m_rowHeight));
}

int DeviceTableView::rowOfView(QObject* view) const
{
    for (auto it = m_visible.cbegin(); it != m_visible.cend(); ++it) {
        if (it.value() == view)
            return it.key();
    }
    return -1;
}

void DeviceTableView::moveFocus(int fromRow, int step)
{
    const int row = fromRow + step;
    if (row < 0 || row >= m_rowCount)
        return;
    const int y = static_cast<int>(row * m_rowHeight);
    QScrollBar* bar = verticalScrollBar();
    if (y < bar->value())
        bar->setValue(y);
    else if (y + m_rowHeight > bar->value() + viewport()->height())
        bar->setValue(static_cast<int>(y + m_rowHeight - viewport()->height()));
    layoutRows();
    if (QWidget* view = m_visible.value(row, nullptr))
        view->setFocus(Qt::TabFocusReason);
}
