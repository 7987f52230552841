// The file upload flow: the open panel, the drop area and its feedback.
#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "controls/DragDropView.h"
#include "dashboard/AssetImageView.h"
#include "platform/Alerts.h"
#include "platform/Logging.h"

#include <QUrl>

namespace {
void refuseUpload()
{
    Alerts::run(QStringLiteral("Cannot upload"),
        QStringLiteral("File upload feature is not available for your device."));
}
} // namespace

// TODO(upload): the open panel is not shown yet.
void DashboardViewController::uploadFileAction()
{
    qCInfo(lcDashboard) << "uploadFileAction";
    if (!m_isFileUploadEnabled) {
        refuseUpload();
        return;
    }
}

void DashboardViewController::uploadFileURL(const QUrl& fileUrl)
{
    qCInfo(lcDashboard) << "uploadFileURL";
    if (!m_isFileUploadEnabled) {
        refuseUpload();
        return;
    }
    uploadFileWithURL(fileUrl);
}

// TODO(upload): classification and the upload request half a second later.
void DashboardViewController::uploadFileWithURL(const QUrl& fileUrl)
{
    qCInfo(lcDashboard).noquote() << "uploadFileWithURL" << fileUrl.toString();
}

void DashboardViewController::draggingBegin()
{
    qCInfo(lcDashboard) << "draggingBegin";
    if (!m_isFileUploadEnabled)
        return;
    m_fileUploadView->setLayerContents(QStringLiteral("fileUploadGridActive"));
    ui->uploadArrowImage->setAssetName(QStringLiteral("uploadArrowActive"));
}

void DashboardViewController::draggingInprogress()
{ }

// TODO(upload): bringing the application to the front 0.5 s after the drag ends.
void DashboardViewController::draggingFinished()
{
    qCInfo(lcDashboard) << "draggingFinished";
    if (!m_isFileUploadEnabled)
        return;
    m_fileUploadView->setLayerContents(QStringLiteral("fileUploadGrid"));
    ui->uploadArrowImage->setAssetName(QStringLiteral("uploadArrow"));
}
