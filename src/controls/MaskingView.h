#pragma once

#include <QWidget>

// A container that disables its direct child controls every time it paints, and that can be
// made transparent to the mouse.
//
// Controls are the widgets that take input: buttons, sliders, spin boxes, combo boxes, line and
// text edits, item views, tab bars and the OrbSwitch. Labels, plain containers and other views
// are left alone, and so is everything deeper than the direct children.
class MaskingView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool maskEnabled READ maskEnabled WRITE setMaskEnabled)
public:
    explicit MaskingView(QWidget* parent = nullptr);

    bool maskEnabled() const;
    void setMaskEnabled(bool enabled);

    void disableSubViews();
    void enableSubViews();
    void setSubViewsEnabled(bool enabled);

    // Is this widget a control whose enabled state the mask manages?
    static bool isControl(const QWidget* widget);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    bool m_maskEnabled = false;
};
