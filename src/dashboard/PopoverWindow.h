#pragma once

#include <QPointer>
#include <QWidget>

// A popover: a frameless window of the main window that shows one controller below (or at
// another edge of) an anchor view, with a small arrow pointing at the anchor.
//
// Semitransient: it closes when the user acts in the main window (a mouse press outside the
// popover, or Escape) and stays open while the user works in another application. On Wayland it
// is a pop-up, which the compositor also closes when the user clicks another application. The
// controller shown inside is only borrowed: closing hides the popover, and the controller lives
// on for the next opening.
class PopoverWindow : public QWidget
{
    Q_OBJECT

public:
    // Edges of the anchor rectangle. Buttons use a flipped coordinate space (y grows
    // downwards), so the maximum-Y edge of a button is its bottom edge.
    enum class PreferredEdge { MinX = 0, MinY = 1, MaxX = 2, MaxY = 3 };
    enum class Behavior { ApplicationDefined = 0, Transient = 1, Semitransient = 2 };

    static constexpr int kArrowHeight = 10;
    static constexpr int kArrowHalfWidth = 11;

    explicit PopoverWindow(QWidget* parent);
    ~PopoverWindow() override;

    QWidget* contentViewController() const { return m_content; }
    void setContentViewController(QWidget* controller);

    // The size the content asks for (like a controller's preferred content size); empty: its
    // size hint.
    void setPreferredContentSize(const QSize& size) { m_preferredContentSize = size; }

    // Shows the popover next to the given rectangle (in anchor's coordinates).
    void showRelativeTo(const QRect& rect, QWidget* anchor, PreferredEdge edge, Behavior behavior);
    // The x coordinate (in this window) at which the arrow points.
    int arrowX() const { return m_arrowX; }

signals:
    void closed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    void reposition();
    void updateMask();
    QPainterPath outline() const;
    bool isInMainWindow(QObject* object) const;
    void passPressToMainWindow(const QMouseEvent& event) const;

    QPointer<QWidget> m_content;
    QPointer<QWidget> m_anchor;
    QRect m_anchorRect;
    int m_arrowX = 0;
    Behavior m_behavior = Behavior::Semitransient;
    QSize m_preferredContentSize;
    // On Wayland the popover is a pop-up placed by the compositor next to the main window.
    const bool m_isPopup;
};
