#pragma once

#include <QByteArray>
#include <QIODevice>

#include <memory>

// A read-only, random-access device over head bytes + the file + tail bytes, so that a large
// upload streams from disk. Its size is fixed when it is made (the file's size at that moment).
class UploadBodyDevice : public QIODevice
{
    Q_OBJECT
public:
    // Takes ownership of file, which must be open for reading.
    UploadBodyDevice(QByteArray head, std::unique_ptr<QIODevice> file, qint64 fileSize,
        QByteArray tail, QObject* parent = nullptr);
    ~UploadBodyDevice() override;

    bool isSequential() const override { return false; }
    qint64 size() const override;
    bool seek(qint64 pos) override;
    bool atEnd() const override;

    // The pieces, for a sender that writes them itself (the file part straight from its file).
    const QByteArray& head() const { return m_head; }
    QIODevice* file() const { return m_file.get(); }
    qint64 fileSize() const { return m_fileSize; }
    const QByteArray& tail() const { return m_tail; }

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    qint64 readFromFile(qint64 offset, char* data, qint64 maxSize);

    QByteArray m_head;
    std::unique_ptr<QIODevice> m_file;
    qint64 m_fileSize;
    QByteArray m_tail;
};
