#pragma once

#include "LayerView.h"

#include <QPointer>
#include <QStringList>

#include <optional>

class DragDropViewDelegate;
class QMimeData;
class QUrl;

// The area onto which the user drops a file. It becomes a drop target only through init(),
// which registers the dragged types PNG, PDF, URL and file URL in that order.
//
// Dragged types are MIME-style names: "image/png" and "application/pdf" are the MIME formats
// themselves; a drag offers the URL type when its uri list holds a URL that is not a local
// file, and the file-URL type when it holds a local-file URL.
class DragDropView : public LayerView
{
    Q_OBJECT
public:
    static const QString PngType; // "image/png"
    static const QString PdfType; // "application/pdf"
    static const QString UrlType; // "text/uri-list"
    static const QString FileUrlType; // "application/x-file-url"

    // The actions the view is ready to take. Qt answers one action per drag event and keeps it
    // within what the source allows, so answering "every operation" means: accept the drag
    // whatever the source allows, with the source's proposed action (Copy when it proposes none
    // of these).
    static constexpr Qt::DropActions EveryOperation
        = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;

    explicit DragDropView(QWidget* parent = nullptr);
    ~DragDropView() override;

    DragDropView* init();
    QStringList registeredDraggedTypes() const;

    DragDropViewDelegate* delegate() const;
    void setDelegate(DragDropViewDelegate* delegate);

    // Does the drag's data offer this dragged type, and what are its bytes for it?
    static bool offersType(const QMimeData* data, const QString& type);
    // The data offered for type; nothing when it is absent (empty data is still data).
    static std::optional<QByteArray> dataForType(const QMimeData* data, const QString& type);
    // The first local-file URL of the drag (empty when there is none).
    static QUrl fileUrlFromData(const QMimeData* data);

    // Takes the drop: true when it was accepted.
    bool performDragOperation(const QMimeData* data);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void answerEveryOperation(QDragMoveEvent* event) const;
    bool offersRegisteredType(const QMimeData* data) const;

    QStringList m_registeredTypes;
    // Weak: when the delegate is also a QObject, its destruction clears the reference.
    DragDropViewDelegate* m_delegate = nullptr;
    QPointer<QObject> m_delegateObject;
    bool m_delegateTracked = false;
};
