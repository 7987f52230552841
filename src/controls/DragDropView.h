#pragma once

#include "LayerView.h"

#include <QStringList>

class DragDropViewDelegate;

// The area onto which the user drops a file. It becomes a drop target only through init(),
// which registers the dragged types PNG, PDF, URL and file URL in that order.
//
// NOTE FOR IMPLEMENTERS: contract the dashboard codes against; extend, keep these signatures.
class DragDropView : public LayerView
{
    Q_OBJECT
public:
    explicit DragDropView(QWidget* parent = nullptr);
    ~DragDropView() override;

    DragDropView* init();
    QStringList registeredDraggedTypes() const;

    DragDropViewDelegate* delegate() const;
    void setDelegate(DragDropViewDelegate* delegate);
};
