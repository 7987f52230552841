#include "DragDropView.h"

#include "DragDropViewDelegate.h"
#include "platform/Alerts.h"
#include "platform/Logging.h"

#include <QDragEnterEvent>
#include <QImage>
#include <QMimeData>
#include <QUrl>

const QString DragDropView::PngType = QStringLiteral("image/png");
const QString DragDropView::PdfType = QStringLiteral("application/pdf");
const QString DragDropView::UrlType = QStringLiteral("text/uri-list");
const QString DragDropView::FileUrlType = QStringLiteral("application/x-file-url");

DragDropView::DragDropView(QWidget* parent)
    : LayerView(parent)
{ }

DragDropView::~DragDropView()
{
    m_registeredTypes.clear();
    setAcceptDrops(false);
}

DragDropView* DragDropView::init()
{
    // Only here does the view become a drop target; sending init again registers the same list.
    m_registeredTypes = {PngType, PdfType, UrlType, FileUrlType};
    setAcceptDrops(true);
    return this;
}

QStringList DragDropView::registeredDraggedTypes() const
{
    return m_registeredTypes;
}

DragDropViewDelegate* DragDropView::delegate() const
{
    if (m_delegate && m_delegateTracked && !m_delegateObject)
        return nullptr;
    return m_delegate;
}

void DragDropView::setDelegate(DragDropViewDelegate* delegate)
{
    m_delegate = delegate;
    m_delegateObject = dynamic_cast<QObject*>(delegate);
    m_delegateTracked = !m_delegateObject.isNull();
}

bool DragDropView::offersType(const QMimeData* data, const QString& type)
{
    if (!data)
        return false;
    if (type == UrlType || type == FileUrlType) {
        const bool wantFile = type == FileUrlType;
        const QList<QUrl> urls = data->urls();
        return std::any_of(urls.cbegin(), urls.cend(),
            [wantFile](const QUrl& url) { return url.isLocalFile() == wantFile; });
    }
    return data->hasFormat(type);
}

std::optional<QByteArray> DragDropView::dataForType(const QMimeData* data, const QString& type)
{
    if (!offersType(data, type))
        return std::nullopt;
    if (type == UrlType || type == FileUrlType) {
        const bool wantFile = type == FileUrlType;
        for (const QUrl& url : data->urls()) {
            if (url.isLocalFile() == wantFile)
                return url.toEncoded();
        }
        return std::nullopt;
    }
    return data->data(type);
}

QUrl DragDropView::fileUrlFromData(const QMimeData* data)
{
    if (!data)
        return {};
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            return url;
    }
    return {};
}

bool DragDropView::performDragOperation(const QMimeData* data)
{
    QString firstOffered;
    for (const QString& type : m_registeredTypes) {
        if (offersType(data, type)) {
            firstOffered = type;
            break;
        }
    }
    const std::optional<QByteArray> bytes
        = firstOffered.isEmpty() ? std::nullopt : dataForType(data, firstOffered);
    if (!bytes) {
        // "past" is the word the user sees.
        Alerts::run(
            QStringLiteral("Paste Error"), QStringLiteral("Sorry, but the past operation failed"));
        return false;
    }
    if (offersType(data, PngType)) {
        qCInfo(lcControls, "PNG image");
        // The image is made and dropped at once; a PNG drag uploads nothing.
        Q_UNUSED(QImage::fromData(*bytes, "PNG"));
        return true;
    }
    if (offersType(data, FileUrlType)) {
        if (DragDropViewDelegate* d = delegate())
            d->uploadFileURL(fileUrlFromData(data));
        return true;
    }
    if (offersType(data, PdfType)) {
        qCInfo(lcControls, "PDF");
        return true;
    }
    if (offersType(data, UrlType)) {
        qCInfo(lcControls, "URL");
        return true;
    }
    return false;
}

void DragDropView::answerEveryOperation(QDragMoveEvent* event) const
{
    const Qt::DropAction proposed = event->proposedAction();
    event->setDropAction(EveryOperation.testFlag(proposed) ? proposed : Qt::CopyAction);
    event->accept();
}

bool DragDropView::offersRegisteredType(const QMimeData* data) const
{
    return std::any_of(m_registeredTypes.cbegin(), m_registeredTypes.cend(),
        [data](const QString& type) { return offersType(data, type); });
}

void DragDropView::dragEnterEvent(QDragEnterEvent* event)
{
    // Like any drop target, the view only hears drags that carry one of its registered types.
    if (!offersRegisteredType(event->mimeData()))
        return event->ignore();
    if (DragDropViewDelegate* d = delegate())
        d->draggingBegin();
    answerEveryOperation(event);
}

void DragDropView::dragMoveEvent(QDragMoveEvent* event)
{
    if (!offersRegisteredType(event->mimeData()))
        return event->ignore();
    if (DragDropViewDelegate* d = delegate())
        d->draggingInprogress();
    answerEveryOperation(event);
}

void DragDropView::dragLeaveEvent(QDragLeaveEvent* event)
{
    // A drag leaving the view: the delegate hears it, no log line.
    if (DragDropViewDelegate* d = delegate())
        d->draggingFinished();
    event->accept();
}

void DragDropView::dropEvent(QDropEvent* event)
{
    const bool taken = performDragOperation(event->mimeData());
    if (taken) {
        event->setDropAction(EveryOperation.testFlag(event->proposedAction())
                ? event->proposedAction()
                : Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
    // The drag has ended here.
    qCInfo(lcControls, "draggingEnded");
    if (DragDropViewDelegate* d = delegate())
        d->draggingFinished();
}
