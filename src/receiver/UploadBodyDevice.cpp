#include "receiver/UploadBodyDevice.h"

#include "platform/Logging.h"

#include <cstring>

UploadBodyDevice::UploadBodyDevice(QByteArray head, std::unique_ptr<QIODevice> file,
    qint64 fileSize, QByteArray tail, QObject* parent)
    : QIODevice(parent)
    , m_head(std::move(head))
    , m_file(std::move(file))
    , m_fileSize(fileSize)
    , m_tail(std::move(tail))
{
    // Unbuffered: QIODevice's own buffer would add a copy per read.
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

UploadBodyDevice::~UploadBodyDevice() = default;

qint64 UploadBodyDevice::size() const
{
    return m_head.size() + m_fileSize + m_tail.size();
}

bool UploadBodyDevice::seek(qint64 pos)
{
    if (pos < 0 || pos > size())
        return false;
    return QIODevice::seek(pos);
}

bool UploadBodyDevice::atEnd() const
{
    return pos() >= size();
}

qint64 UploadBodyDevice::readData(char* data, qint64 maxSize)
{
    qint64 offset = pos();
    if (offset >= size())
        return -1; // the end: the network layer stops asking
    qint64 done = 0;
    while (done < maxSize && offset < size()) {
        qint64 count = 0;
        if (offset < m_head.size()) {
            count = qMin(maxSize - done, m_head.size() - offset);
            std::memcpy(data + done, m_head.constData() + offset, count);
        } else if (offset < m_head.size() + m_fileSize) {
            count = readFromFile(offset - m_head.size(), data + done, maxSize - done);
            if (count <= 0)
                return done > 0 ? done : -1;
        } else {
            const qint64 tailOffset = offset - m_head.size() - m_fileSize;
            count = qMin(maxSize - done, m_tail.size() - tailOffset);
            std::memcpy(data + done, m_tail.constData() + tailOffset, count);
        }
        done += count;
        offset += count;
    }
    return done;
}

qint64 UploadBodyDevice::readFromFile(qint64 offset, char* data, qint64 maxSize)
{
    if (m_file->pos() != offset && !m_file->seek(offset))
        return -1;
    const qint64 count = m_file->read(data, qMin(maxSize, m_fileSize - offset));
    if (count <= 0)
        qCWarning(lcReceiver, "Upload file ended early at byte %lld of %lld", offset, m_fileSize);
    return count;
}
