#pragma once

#include "receiver/UploadData.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPair>
#include <QString>
#include <QUrl>

#include <optional>

class ReceiverReply;

// Sends one file to the paired receiver as a multipart/form-data POST to port 5505. Made per
// file and dropped by the caller at once: the running request owns what it needs and reports
// receiver-side failures with a "Failure" alert.
class UploadDataToHost : public QObject
{
    Q_OBJECT
public:
    explicit UploadDataToHost(QObject* parent = nullptr);

    // Stores the four inputs (replacing earlier ones); sends nothing.
    void initWithFileType(const std::optional<QString>& fileType,
        const std::optional<UploadData>& data, const std::optional<QString>& fileName,
        const std::optional<QString>& selectedDeviceIP);
    // Builds and starts the request; returns at once. Any of the four inputs missing is fatal.
    void upload();

    // The body before the file bytes (rows 1 to 3, preceded by any parameters) and after them
    // (rows 5 and 6). The full body is head + file bytes + tail.
    static QByteArray bodyHead(const std::optional<QMap<QString, QString>>& parameters,
        const QString& fieldName, const QString& fileName, const QString& boundary,
        const QString& mimeType);
    static QByteArray bodyTail(const QString& boundary);
    // "Boundary-" followed by a new upper-case UUID (45 characters).
    static QString makeBoundary();

signals:
    // The request went out (emitted inside upload()): its reply reports uploadProgress() and
    // finished() until it ends. Only for showing progress; it changes nothing of the request.
    void started(ReceiverReply* reply);

private:
    void startRequest(const QUrl& url, const QList<QPair<QByteArray, QByteArray>>& headers,
        const QString& boundary);

    std::optional<QString> m_fileType;
    std::optional<UploadData> m_data;
    std::optional<QString> m_fileName;
    std::optional<QString> m_selectedDeviceIP;
};
