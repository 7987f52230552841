#pragma once

#include "receiver/ReceiverReply.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <curl/curl.h>

class QSocketNotifier;

// The one HTTP client of the receiver requests, on libcurl. The small requests (heartbeat,
// touchback, cast) share one multi handle driven by the main event loop (QSocketNotifier and a
// QTimer, no thread), with at most six keep-alive connections per receiver: requests beyond
// that wait for a free one. So does an upload of a file up to kLargeUploadBytes (one step of
// the read callback): no thread to start and hand back from. A larger upload runs on a thread
// of its own with its own connection, so its file's bytes never pass through the main thread. Each
// request ends on its own: there is no time limit but the 60 s of inactivity, and a stalled or
// hostile connection stalls only its own request. Replies finish on the main thread.
class ReceiverHttpClient : public QObject
{
    Q_OBJECT
public:
    using Header = ReceiverReply::Header;

    static constexpr int kMaxConnectionsPerReceiver = 6;
    static constexpr qint64 kLargeUploadBytes = 1024 * 1024;

    explicit ReceiverHttpClient(QObject* parent = nullptr);
    ~ReceiverHttpClient() override;

    // Each starts the request and returns its reply, a child of this client, deleted after
    // finished(). The headers go out in their order, right after "Host".
    ReceiverReply* get(const QUrl& url, const QList<Header>& headers);
    ReceiverReply* post(const QUrl& url, const QList<Header>& headers, const QByteArray& body);
    // POSTs head + the file's bytes (read from file, which must be open) + tail; in the main
    // loop or, for a file over kLargeUploadBytes, on a thread of its own.
    ReceiverReply* upload(const QUrl& url, const QList<Header>& headers, QByteArray head,
        std::unique_ptr<QIODevice> file, qint64 fileSize, QByteArray tail);

    // The inactivity timeout of requests started from now on (libcurl counts whole seconds).
    int transferTimeout() const { return m_transferTimeoutMs; }
    void setTransferTimeout(int ms) { m_transferTimeoutMs = ms; }

signals:
    // After the reply's own finished().
    void finished(ReceiverReply* reply);

private:
    friend class ReceiverReply;
    struct Watch;

    ReceiverReply* startInMulti(ReceiverReply* reply);
    void remove(ReceiverReply* reply);
    void finish(ReceiverReply* reply);

    static int onSocket(CURL* easy, curl_socket_t fd, int what, void* self, void* watch);
    static int onTimer(CURLM* multi, long timeoutMs, void* self);
    void watchSocket(curl_socket_t fd, int what);
    void act(curl_socket_t fd, int events);
    void collectDone();

    CURLM* m_multi;
    QTimer m_timer;
    QHash<curl_socket_t, Watch*> m_watches;
    int m_transferTimeoutMs = 60000;
};
