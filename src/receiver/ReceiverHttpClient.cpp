#include "receiver/ReceiverHttpClient.h"

#include <QIODevice>
#include <QSocketNotifier>

#include <mutex>

// A socket libcurl wants watched: one notifier per direction (children of the client), enabled
// as libcurl asks.
struct ReceiverHttpClient::Watch
{
    QSocketNotifier* read;
    QSocketNotifier* write;
};

ReceiverHttpClient::ReceiverHttpClient(QObject* parent)
    : QObject(parent)
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    m_multi = curl_multi_init();
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &ReceiverHttpClient::onSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &ReceiverHttpClient::onTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_MAX_HOST_CONNECTIONS, long(kMaxConnectionsPerReceiver));
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

ReceiverHttpClient::~ReceiverHttpClient()
{
    // The replies go first: each leaves the multi handle (or lets its upload thread end).
    qDeleteAll(findChildren<ReceiverReply*>(Qt::FindDirectChildrenOnly));
    curl_multi_cleanup(m_multi);
    qDeleteAll(m_watches); // their notifiers go with this object
}

ReceiverReply* ReceiverHttpClient::get(const QUrl& url, const QList<Header>& headers)
{
    return startInMulti(new ReceiverReply(url, headers, this));
}

ReceiverReply* ReceiverHttpClient::post(
    const QUrl& url, const QList<Header>& headers, const QByteArray& body)
{
    auto* reply = new ReceiverReply(url, headers, this);
    reply->setBody(body);
    return startInMulti(reply);
}

ReceiverReply* ReceiverHttpClient::upload(const QUrl& url, const QList<Header>& headers,
    QByteArray head, std::unique_ptr<QIODevice> file, qint64 fileSize, QByteArray tail)
{
    auto* reply = new ReceiverReply(url, headers, this);
    reply->setUpload({std::move(head), std::move(file), fileSize, std::move(tail), 0});
    if (fileSize <= kLargeUploadBytes)
        return startInMulti(reply);
    reply->prepare(m_transferTimeoutMs);
    reply->runOnThread();
    return reply;
}

ReceiverReply* ReceiverHttpClient::startInMulti(ReceiverReply* reply)
{
    reply->prepare(m_transferTimeoutMs);
    reply->m_inMulti = true;
    curl_multi_add_handle(m_multi, reply->m_easy); // sets a timer that starts it
    return reply;
}

void ReceiverHttpClient::remove(ReceiverReply* reply)
{
    reply->m_inMulti = false;
    curl_multi_remove_handle(m_multi, reply->m_easy);
}

void ReceiverHttpClient::finish(ReceiverReply* reply)
{
    emit finished(reply);
    reply->deleteLater();
}

int ReceiverHttpClient::onSocket(CURL*, curl_socket_t fd, int what, void* self, void*)
{
    static_cast<ReceiverHttpClient*>(self)->watchSocket(fd, what);
    return 0;
}

void ReceiverHttpClient::watchSocket(curl_socket_t fd, int what)
{
    Watch* watch = m_watches.value(fd);
    if (what == CURL_POLL_REMOVE) {
        if (watch) {
            m_watches.remove(fd);
            // Possibly inside one of their own notifications: deleted once back in the loop.
            for (QSocketNotifier* notifier : {watch->read, watch->write}) {
                notifier->setEnabled(false);
                notifier->deleteLater();
            }
            delete watch;
        }
        return;
    }
    if (!watch) {
        watch = new Watch {new QSocketNotifier(fd, QSocketNotifier::Read, this),
            new QSocketNotifier(fd, QSocketNotifier::Write, this)};
        m_watches.insert(fd, watch);
        connect(watch->read, &QSocketNotifier::activated, this,
            [this, fd] { act(fd, CURL_CSELECT_IN); });
        connect(watch->write, &QSocketNotifier::activated, this,
            [this, fd] { act(fd, CURL_CSELECT_OUT); });
    }
    watch->read->setEnabled(what == CURL_POLL_IN || what == CURL_POLL_INOUT);
    watch->write->setEnabled(what == CURL_POLL_OUT || what == CURL_POLL_INOUT);
}

int ReceiverHttpClient::onTimer(CURLM*, long timeoutMs, void* self)
{
    auto* client = static_cast<ReceiverHttpClient*>(self);
    if (timeoutMs < 0)
        client->m_timer.stop();
    else
        client->m_timer.start(int(timeoutMs)); // 0: on the next pass of the loop
    return 0;
}

void ReceiverHttpClient::act(curl_socket_t fd, int events)
{
    int running = 0;
    curl_multi_socket_action(m_multi, fd, events, &running);
    collectDone();
}

void ReceiverHttpClient::collectDone()
{
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(m_multi, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        ReceiverReply* reply = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &reply);
        const CURLcode result = message->data.result;
        remove(reply); // message is gone after this
        reply->complete(result);
    }
}
