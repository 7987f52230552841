#pragma once

#include <QAbstractScrollArea>
#include <QHash>
#include <QList>
#include <QMap>

#include <functional>

class DeviceTableViewDataSource;

// A one-column list whose rows are widgets made on demand for an identifier and reused: only
// the rows in sight have a view; a view leaving sight, or every view on reloadData, goes back
// to a pool and is handed out again as it is, keeping whatever it last showed.
// A single click (or Enter/Space on a focused row) runs the action with clickedRow set.
class DeviceTableView : public QAbstractScrollArea
{
    Q_OBJECT
public:
    enum SelectionHighlightStyle { SelectionHighlightNone = -1, SelectionHighlightRegular = 0 };

    explicit DeviceTableView(QWidget* parent = nullptr);
    ~DeviceTableView() override;

    void setDataSource(DeviceTableViewDataSource* dataSource) { m_dataSource = dataSource; }
    void setAction(std::function<void()> action) { m_action = std::move(action); }

    void registerViewFactory(const QString& identifier, std::function<QWidget*()> factory);
    // A pooled view for the identifier, or a new one from its factory.
    QWidget* makeView(const QString& identifier);

    void reloadData();
    int numberOfRows() const { return m_rowCount; }
    // The view showing a row, or null when the row has none (out of sight or not existing).
    QWidget* viewAt(int column, int row) const;
    int rowAt(const QPoint& viewportPos) const;

    qreal rowHeight() const { return m_rowHeight; }
    void setRowHeight(qreal height);
    SelectionHighlightStyle selectionHighlightStyle() const { return m_highlightStyle; }
    void setSelectionHighlightStyle(SelectionHighlightStyle style) { m_highlightStyle = style; }

    // Valid while the action runs; -1 otherwise and for a click on empty space.
    int clickedRow() const { return m_clickedRow; }
    int clickedColumn() const { return m_clickedColumn; }

    // Runs the action as a click on the row (-1: empty space) would.
    void performClick(int row);

protected:
    bool viewportEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void resizeEvent(QResizeEvent* event) override;
    QSize sizeHint() const override;

private:
    void layoutRows();
    void recycle(int row);
    void updateScrollRange();
    int rowOfView(QObject* view) const;
    void moveFocus(int fromRow, int step);

    DeviceTableViewDataSource* m_dataSource = nullptr;
    std::function<void()> m_action;
    QHash<QString, std::function<QWidget*()>> m_factories;
    QHash<QString, QList<QWidget*>> m_pool;
    QHash<QWidget*, QString> m_identifiers;
    QMap<int, QWidget*> m_visible;
    int m_rowCount = 0;
    qreal m_rowHeight = 24.0;
    SelectionHighlightStyle m_highlightStyle = SelectionHighlightRegular;
    int m_clickedRow = -1;
    int m_clickedColumn = -1;
    int m_pressedRow = -2;
};
