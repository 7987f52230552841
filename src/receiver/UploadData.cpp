#include "receiver/UploadData.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

UploadData UploadData::fromBytes(QByteArray bytes)
{
    UploadData data;
    data.m_bytes = std::move(bytes);
    return data;
}

std::optional<UploadData> UploadData::fromFile(const QString& path)
{
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly) || file.isSequential())
        return std::nullopt;
    UploadData data;
    data.m_path = QFileInfo(path).absoluteFilePath();
    data.m_fileSize = file.size();
    return data;
}

qint64 UploadData::size() const
{
    return isFileBacked() ? m_fileSize : m_bytes.size();
}

QIODevice* UploadData::openDevice() const
{
    if (!isFileBacked()) {
        auto* buffer = new QBuffer;
        buffer->setData(m_bytes);
        buffer->open(QIODevice::ReadOnly);
        return buffer;
    }
    auto* file = new QFile(m_path);
    if (!file->open(QIODevice::ReadOnly)) {
        delete file;
        return nullptr;
    }
    return file;
}
