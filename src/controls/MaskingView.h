#pragma once

#include <QWidget>

// A container that disables its direct child controls every time it paints, and that can be
// made transparent to the mouse.
//
// NOTE FOR IMPLEMENTERS: contract the dashboard codes against; extend, keep these signatures.
class MaskingView : public QWidget
{
    Q_OBJECT
public:
    explicit MaskingView(QWidget* parent = nullptr);

    bool maskEnabled() const;
    void setMaskEnabled(bool enabled);

    void disableSubViews();
    void enableSubViews();
    void setSubViewsEnabled(bool enabled);
};
