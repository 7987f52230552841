#pragma once

#include "receiver/UploadSender.h"

#include <QNetworkReply>

#include <atomic>
#include <memory>

class QThread;
class UploadBodyDevice;

// The reply of an upload, sent by an UploadSender on a thread of its own so that neither the
// body's bytes nor the waits on the socket ever run on the main thread. It finishes like the
// network layer's own replies: the status and header lines of the answer (duplicate header
// lines joined as Qt joins them), or an error without a status when no answer came. Its
// progress is reported with uploadProgress(), at most ten times a second.
class UploadReply : public QNetworkReply
{
    Q_OBJECT
public:
    // Takes what it sends from body; the body device itself is no longer read.
    UploadReply(const QNetworkRequest& request, const UploadBodyDevice& body,
        int inactivityTimeoutMs, QObject* parent = nullptr);
    ~UploadReply() override;

    void abort() override;
    qint64 bytesAvailable() const override { return 0; } // the answer's body is not kept

    // The request line and header lines exactly as Qt's HTTP client writes them for a POST:
    // Host first, the request's own headers in their order, then Qt's four defaults.
    static QByteArray requestHead(const QNetworkRequest& request);

protected:
    qint64 readData(char*, qint64) override { return -1; }

private:
    void reportProgress();
    void complete();

    std::unique_ptr<UploadSender> m_sender;
    std::unique_ptr<QThread> m_thread;
    UploadOutcome m_outcome; // written by the sending thread before it finishes
    std::atomic<qint64> m_sent {0};
    std::atomic<bool> m_progressQueued {false};
    qint64 m_total = 0;
};
