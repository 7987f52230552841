#pragma once

#include "receiver/ReplyReader.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPair>
#include <QUrl>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

#include <curl/curl.h>

class QIODevice;
class ReceiverHttpClient;

// One request to a receiver and its answer, as one libcurl transfer. Made by ReceiverHttpClient,
// a child of it, deleted by it after finished(). Everything is read on the main thread.
class ReceiverReply : public QObject
{
    Q_OBJECT
public:
    using Header = ReplyReader::Header;
    ~ReceiverReply() override;

    QUrl url() const { return m_url; }
    // The HTTP status, or nothing when no answer arrived (refused, unreachable, reset, 60 s of
    // inactivity, a header block over its cap): the cases in which the requests report nothing.
    // A body cut at its cap still counts as answered, with what was read.
    std::optional<int> status() const { return m_status; }
    const QList<Header>& headers() const { return m_reader.headers(); }
    const QByteArray& body() const { return m_reader.body(); }
    // Why no answer arrived (libcurl's words); empty for an answer.
    QString errorString() const { return m_error; }
    bool isFinished() const { return m_finished; }

    // Ends the request as a transport failure; finished() follows at once (for an upload, as
    // soon as its thread has let go).
    void abort();

signals:
    // Bytes of the body sent so far and in all; for an upload, at most ten times a second.
    void uploadProgress(qint64 sent, qint64 total);
    void finished();

private:
    friend class ReceiverHttpClient;
    struct UploadSource
    {
        QByteArray head;
        std::unique_ptr<QIODevice> file;
        qint64 fileSize = 0;
        QByteArray tail;
        qint64 position = 0;
    };

    ReceiverReply(const QUrl& url, const QList<Header>& headers, ReceiverHttpClient* client);

    // The request's settings, before it starts; body and upload are for a POST.
    void setBody(const QByteArray& body);
    void setUpload(UploadSource source);
    void prepare(int inactivityTimeoutMs);
    void runOnThread();
    // The transfer has ended with libcurl's result; on the main thread.
    void complete(int result);

    static size_t onHeader(char* data, size_t size, size_t count, void* self);
    static size_t onBody(char* data, size_t size, size_t count, void* self);
    static size_t onRead(char* buffer, size_t size, size_t count, void* self);
    static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t ulTotal, curl_off_t ulNow);
    static int onSocketOptions(void* self, curl_socket_t fd, curlsocktype purpose);
    size_t readBody(char* buffer, size_t size);

    ReceiverHttpClient* m_client;
    CURL* m_easy;
    curl_slist* m_headerList = nullptr;
    QUrl m_url;
    QList<Header> m_requestHeaders;
    QByteArray m_postBody;
    std::unique_ptr<UploadSource> m_upload;
    ReplyReader m_reader;
    std::optional<int> m_status;
    QString m_error;
    bool m_finished = false;
    bool m_inMulti = false;
    std::thread m_thread;
    std::atomic<bool> m_aborting = false;
    QElapsedTimer m_sinceProgress;
    curl_off_t m_progressShown = -1;
};
