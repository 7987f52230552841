#pragma once

#include <QByteArray>
#include <QFile>
#include <QJsonObject>
#include <QString>

// Checks a single-part multipart/form-data body while it streams in and stores the file part
// in a folder, holding at most the part headers and the closing boundary in memory.
class MultipartReceiver
{
public:
    MultipartReceiver(QByteArray boundary, QString uploadDir);

    void feed(const char* data, qint64 size);
    // The outcome of the check, once the whole body has been fed.
    QJsonObject finish();

private:
    enum class Stage { Opening, PartHeaders, Content, Failed };
    void fail(const QString& reason);
    void parsePartHeaders(const QByteArray& block);
    void writeContent(const char* data, qint64 size);

    QByteArray m_boundary;
    QString m_uploadDir;
    Stage m_stage = Stage::Opening;
    QByteArray m_pending; // opening line / part headers, or the held-back end of the content
    QByteArray m_closing; // CRLF "--" boundary "--" CRLF
    QString m_error;
    QString m_fieldName;
    QString m_fileName;
    QString m_contentType;
    QFile m_file;
    qint64 m_fileLength = 0;
};
