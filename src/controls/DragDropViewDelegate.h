#pragma once

class QUrl;

// What the drop area tells its owner. All four are sent, so a delegate implements all four.
class DragDropViewDelegate
{
public:
    virtual ~DragDropViewDelegate() = default;
    virtual void uploadFileURL(const QUrl& fileUrl) = 0;
    virtual void draggingInprogress() = 0;
    virtual void draggingBegin() = 0;
    virtual void draggingFinished() = 0;
};
