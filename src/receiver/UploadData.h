#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QIODevice;

// The bytes of one file to upload: either held in memory or backed by a file on disk that is
// streamed when the request goes out (so large files are never loaded whole).
class UploadData
{
public:
    static UploadData fromBytes(QByteArray bytes);
    // Empty optional when the file cannot be opened for reading.
    static std::optional<UploadData> fromFile(const QString& path);

    qint64 size() const;
    bool isFileBacked() const { return !m_path.isEmpty(); }
    const QByteArray& bytes() const { return m_bytes; }
    const QString& path() const { return m_path; }

    // A fresh device positioned at the first byte, opened for reading; nullptr when the
    // backing file can no longer be opened. The caller owns it.
    QIODevice* openDevice() const;

private:
    UploadData() = default;

    QByteArray m_bytes;
    QString m_path;
    qint64 m_fileSize = 0;
};
