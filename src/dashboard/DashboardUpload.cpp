// The file upload flow: the open panel, the drop area and its feedback, and the hand-over of
// one file to the upload request half a second later.
#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "controls/DragDropView.h"
#include "controls/UploadProgressView.h"
#include "dashboard/AssetImageView.h"
#include "platform/Alerts.h"
#include "platform/Logging.h"
#include "platform/MainQueue.h"
#include "platform/ModalState.h"
#include "receiver/UploadData.h"
#include "receiver/UploadDataToHost.h"

#include "receiver/ReceiverReply.h"
#include <QFileDialog>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>

#include <memory>

namespace {
constexpr std::chrono::milliseconds kUploadDelay {500};
constexpr std::chrono::milliseconds kBringToFrontDelay {500};

DashboardViewController::OpenPanel s_openPanelForTesting;

void refuseUpload()
{
    Alerts::run(QStringLiteral("Cannot upload"),
        QStringLiteral("File upload feature is not available for your device."));
}

// The open panel's own list: the same 18 types as the three classes, in the same order.
QStringList allowedFileTypes()
{
    return {QStringLiteral("png"), QStringLiteral("jpg"), QStringLiteral("jpeg"),
        QStringLiteral("psd"), QStringLiteral("svg"), QStringLiteral("gof"), QStringLiteral("mp3"),
        QStringLiteral("mov"), QStringLiteral("mp4"), QStringLiteral("doc"), QStringLiteral("docx"),
        QStringLiteral("ppt"), QStringLiteral("pptx"), QStringLiteral("pdf"), QStringLiteral("key"),
        QStringLiteral("pps"), QStringLiteral("xls"), QStringLiteral("xlsx")};
}

// One existing file of the allowed types, starting in the Downloads folder; empty on cancel.
std::optional<QString> runFileDialog(
    QWidget* parent, const QString& directory, const QStringList& types)
{
    QStringList patterns;
    for (const QString& type : types)
        patterns << QStringLiteral("*.") + type;
    QFileDialog dialog(parent, QString(), directory);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setNameFilter(
        QStringLiteral("Images, videos and documents (%1)").arg(patterns.join(QLatin1Char(' '))));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}
} // namespace

void DashboardViewController::setOpenPanelForTesting(OpenPanel panel)
{
    s_openPanelForTesting = std::move(panel);
}

void DashboardViewController::uploadFileAction()
{
    if (!m_isFileUploadEnabled) {
        refuseUpload();
        return;
    }
    const QStringList types = allowedFileTypes();
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    std::optional<QString> chosen;
    {
        ModalState::Scope modal;
        chosen = s_openPanelForTesting ? s_openPanelForTesting(downloads, types)
                                       : runFileDialog(window(), downloads, types);
    }
    if (!chosen)
        return;
    const QUrl url = QUrl::fromLocalFile(*chosen);
    qCInfo(lcDashboard).noquote() << url.toString(QUrl::FullyEncoded);
    uploadFileWithURL(url);
}

void DashboardViewController::uploadFileURL(const QUrl& fileUrl)
{
    if (!m_isFileUploadEnabled) {
        refuseUpload();
        return;
    }
    // A dropped file is not checked against the allowed types.
    uploadFileWithURL(fileUrl);
}

void DashboardViewController::uploadFileWithURL(const QUrl& fileUrl)
{
    // Nothing cancels this, not even a disconnect in the meantime.
    MainQueue::after(kUploadDelay, this, [this, fileUrl] { uploadFile(fileUrl); });
}

QString DashboardViewController::uploadFileType(const QString& extension) const
{
    // Case-sensitive; a name outside the three lists has no class and reads "(null)".
    QString fileClass = QStringLiteral("(null)");
    if (m_imageFileTypes.contains(extension))
        fileClass = QStringLiteral("image");
    else if (m_videoFileTypes.contains(extension))
        fileClass = QStringLiteral("video");
    else if (m_documentsFileTypes.contains(extension))
        fileClass = QStringLiteral("document");
    return fileClass + QLatin1Char('/') + extension;
}

void DashboardViewController::uploadFile(const QUrl& fileUrl)
{
    const QString path = fileUrl.toLocalFile();
    const QString fileName = QFileInfo(path).fileName();
    qCInfo(lcDashboard).noquote() << "File name" << fileName;
    // The last "."-separated piece, case kept: no dot gives the whole name, a final dot "".
    const QString extension = fileName.split(QLatin1Char('.')).constLast();
    qCInfo(lcDashboard).noquote() << "File extension" << extension;
    const QString fileType = uploadFileType(extension);
    qCInfo(lcDashboard).noquote() << "File type" << fileType;
    // Streamed from disk when the request goes out; empty when the file cannot be read, and
    // handed on as such.
    const std::optional<UploadData> data = UploadData::fromFile(path);
    // The request owns what it needs once started; this object can go right away.
    auto upload = std::make_unique<UploadDataToHost>();
    connect(upload.get(), &UploadDataToHost::started, this,
        [this, fileName](ReceiverReply* reply) { showUploadProgress(reply, fileName); });
    upload->initWithFileType(fileType, data, fileName, m_selectedDeviceIPAddress);
    upload->upload();
}

// A row in the drop area for as long as the upload runs; its outcome is reported as before.
void DashboardViewController::showUploadProgress(ReceiverReply* reply, const QString& fileName)
{
    auto* row = new UploadProgressView(fileName, ui->uploadProgressList);
    ui->uploadProgressList->layout()->addWidget(row);
    ui->uploadProgressList->show();
    connect(reply, &ReceiverReply::uploadProgress, row, &UploadProgressView::setProgress);
    connect(reply, &ReceiverReply::finished, row, [this, row] {
        delete row;
        if (ui->uploadProgressList->findChildren<UploadProgressView*>().isEmpty())
            ui->uploadProgressList->hide();
    });
}

void DashboardViewController::draggingBegin()
{
    if (!m_isFileUploadEnabled)
        return;
    m_fileUploadView->setLayerContents(QStringLiteral("fileUploadGridActive"));
    ui->uploadArrowImage->setAssetName(QStringLiteral("uploadArrowActive"));
}

void DashboardViewController::draggingInprogress()
{ }

void DashboardViewController::draggingFinished()
{
    if (!m_isFileUploadEnabled)
        return;
    m_fileUploadView->setLayerContents(QStringLiteral("fileUploadGrid"));
    ui->uploadArrowImage->setAssetName(QStringLiteral("uploadArrow"));
    // After a drop from another application's window, the dashboard comes forward.
    MainQueue::after(kBringToFrontDelay, this, [this] {
        QWidget* topLevel = window();
        topLevel->raise();
        topLevel->activateWindow();
    });
}
