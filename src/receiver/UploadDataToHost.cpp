#include "receiver/UploadDataToHost.h"

#include "platform/Alerts.h"
#include "platform/FatalError.h"
#include "platform/Logging.h"
#include "platform/MainQueue.h"
#include "platform/StdoutLine.h"
#include "receiver/Describe.h"
#include "receiver/ReceiverSession.h"

#include <QIODevice>
#include <QUuid>

namespace {

const QByteArray kCrlf = QByteArrayLiteral("\r\n");
const QString kFieldName = QStringLiteral("my-file");

void showAlert(const QString& message)
{
    MainQueue::async([message] { Alerts::run(QStringLiteral("Failure"), message); });
}

bool carriesLineBreak(const QByteArray& value)
{
    return value.contains('\r') || value.contains('\n');
}

void finishUpload(const ReceiverReply* reply)
{
    if (!reply->status())
        return;
    StdoutLine::print(Describe::optionalResponse(reply));
    const int status = *reply->status();
    if (status == 500)
        showAlert(QStringLiteral("Server error while uploading. Please try again."));
    else if (status == 200)
        StdoutLine::print("Successfully uploaded");
    else
        showAlert(QStringLiteral("File Upload failed."));
}

} // namespace

UploadDataToHost::UploadDataToHost(QObject* parent)
    : QObject(parent)
{ }

void UploadDataToHost::initWithFileType(const std::optional<QString>& fileType,
    const std::optional<UploadData>& data, const std::optional<QString>& fileName,
    const std::optional<QString>& selectedDeviceIP)
{
    m_fileType = fileType;
    m_data = data;
    m_fileName = fileName;
    m_selectedDeviceIP = selectedDeviceIP;
}

QString UploadDataToHost::makeBoundary()
{
    return QStringLiteral("Boundary-")
        + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QByteArray UploadDataToHost::bodyHead(const std::optional<QMap<QString, QString>>& parameters,
    const QString& fieldName, const QString& fileName, const QString& boundary,
    const QString& mimeType)
{
    const QByteArray dashes = "--" + boundary.toUtf8();
    QByteArray head;
    if (parameters) {
        for (auto it = parameters->cbegin(); it != parameters->cend(); ++it) {
            head += dashes + kCrlf;
            head += "Content-Disposition: form-data; name=\"" + it.key().toUtf8() + "\"" + kCrlf
                + kCrlf;
            head += it.value().toUtf8() + kCrlf;
        }
    }
    head += dashes + kCrlf;
    head += "Content-Disposition: form-data; name=\"" + fieldName.toUtf8() + "\"; filename=\""
        + fileName.toUtf8() + "\"" + kCrlf;
    head += "Content-Type: " + mimeType.toUtf8() + kCrlf + kCrlf;
    return head;
}

QByteArray UploadDataToHost::bodyTail(const QString& boundary)
{
    return kCrlf + "--" + boundary.toUtf8() + "--" + kCrlf;
}

void UploadDataToHost::upload()
{
    StdoutLine::print("Uploading...");
    const QString boundary = makeBoundary();
    if (!m_selectedDeviceIP)
        fatalError(QStringLiteral("upload without a receiver address"));
    const auto url = ReceiverSession::parseUrl(
        QStringLiteral("http://") + *m_selectedDeviceIP + QStringLiteral(":5505/uploadfile"));
    if (!url)
        return;
    if (!m_data)
        fatalError(QStringLiteral("upload without file data"));
    if (!m_fileName)
        fatalError(QStringLiteral("upload without a file name"));
    if (!m_fileType)
        fatalError(QStringLiteral("upload without a file type"));

    // The declared length is the file's size, not the body's; it is kept in this record and
    // printed, while the network layer sends the true body length.
    const QList<QPair<QByteArray, QByteArray>> headers {
        {"Content-Type", "multipart/form-data; boundary=" + boundary.toUtf8()},
        {"Content-Length", QByteArray::number(m_data->size())},
        {"srcfilename", m_fileName->toUtf8()},
        {"filetype", m_fileType->toUtf8()},
    };
    for (const auto& [name, value] : headers) {
        if (carriesLineBreak(value)) {
            qCWarning(
                lcReceiver, "Upload not sent: header %s carries a line break", name.constData());
            showAlert(QStringLiteral("File Upload failed."));
            return;
        }
    }
    startRequest(*url, headers, boundary);
}

void UploadDataToHost::startRequest(
    const QUrl& url, const QList<QPair<QByteArray, QByteArray>>& headers, const QString& boundary)
{
    const QByteArray head = bodyHead(std::nullopt, kFieldName, *m_fileName, boundary, *m_fileType);
    const QByteArray tail = bodyTail(boundary);
    const qint64 bodySize = head.size() + m_data->size() + tail.size();
    StdoutLine::print(QStringLiteral("request: ") + Describe::optional(Describe::headers(headers))
        + QLatin1Char(' ') + Describe::optional(QString::number(bodySize)));

    // Same order as the record; only the length on the wire is the body's true one.
    QList<QPair<QByteArray, QByteArray>> wireHeaders;
    for (const auto& [name, value] : headers)
        wireHeaders.append({name, name == "Content-Length" ? QByteArray::number(bodySize) : value});

    std::unique_ptr<QIODevice> file(m_data->openDevice());
    if (!file) {
        qCWarning(lcReceiver, "Upload not sent: %s can no longer be read",
            qUtf8Printable(m_data->path()));
        showAlert(QStringLiteral("File Upload failed."));
        return;
    }
    // The body is streamed from the file; nothing of it is held here.
    ReceiverReply* reply = ReceiverSession::shared()->upload(
        url, wireHeaders, head, std::move(file), m_data->size(), tail);
    // The reply owns everything the completion needs; this object may be dropped at once.
    QObject::connect(reply, &ReceiverReply::finished, reply, [reply] { finishUpload(reply); });
    emit started(reply);
}
