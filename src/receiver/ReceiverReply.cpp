#include "receiver/ReceiverReply.h"

#include "platform/Logging.h"
#include "receiver/ReceiverHttpClient.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

#include <sys/socket.h>

namespace {
// The upload's steps: the file is read into libcurl's buffer in pieces this large.
constexpr long kUploadBuffer = 1024 * 1024;
// The upload socket's send buffer (the kernel doubles it): big enough for a fast link, small
// enough that one step of the transfer does not hold a core while touches wait.
constexpr int kUploadSendBuffer = 512 * 1024;
constexpr qint64 kProgressIntervalMs = 100;

curl_slist* append(curl_slist* list, const QByteArray& line)
{
    return curl_slist_append(list, line.constData());
}
} // namespace

ReceiverReply::ReceiverReply(
    const QUrl& url, const QList<Header>& headers, ReceiverHttpClient* client)
    : QObject(client)
    , m_client(client)
    , m_easy(curl_easy_init())
    , m_url(url)
    , m_requestHeaders(headers)
{
    curl_easy_setopt(m_easy, CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(m_easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(m_easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_easy, CURLOPT_PROTOCOLS_STR, "http");
    curl_easy_setopt(m_easy, CURLOPT_NOPROXY, "*"); // receivers are on the local network
    curl_easy_setopt(m_easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &ReceiverReply::onHeader);
    curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &ReceiverReply::onBody);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);
}

ReceiverReply::~ReceiverReply()
{
    m_aborting = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_inMulti)
        m_client->remove(this);
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headerList);
}

void ReceiverReply::setBody(const QByteArray& body)
{
    m_postBody = body;
    m_requestHeaders.append({"Content-Length", QByteArray::number(body.size())});
    curl_easy_setopt(m_easy, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(m_postBody.size()));
    curl_easy_setopt(m_easy, CURLOPT_POSTFIELDS, m_postBody.constData());
}

void ReceiverReply::setUpload(UploadSource source)
{
    m_upload = std::make_unique<UploadSource>(std::move(source));
    const curl_off_t total = m_upload->head.size() + m_upload->fileSize + m_upload->tail.size();
    curl_easy_setopt(m_easy, CURLOPT_POST, 1L);
    curl_easy_setopt(m_easy, CURLOPT_POSTFIELDSIZE_LARGE, total);
    curl_easy_setopt(m_easy, CURLOPT_READFUNCTION, &ReceiverReply::onRead);
    curl_easy_setopt(m_easy, CURLOPT_READDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_UPLOAD_BUFFERSIZE, kUploadBuffer);
    curl_easy_setopt(m_easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(m_easy, CURLOPT_XFERINFOFUNCTION, &ReceiverReply::onProgress);
    curl_easy_setopt(m_easy, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(m_easy, CURLOPT_SOCKOPTFUNCTION, &ReceiverReply::onSocketOptions);
    curl_easy_setopt(m_easy, CURLOPT_SOCKOPTDATA, this);
    m_sinceProgress.start();
}

void ReceiverReply::prepare(int inactivityTimeoutMs)
{
    // The request's own headers, in their order and letter case. libcurl adds "Host" before
    // them and nothing after; its "Accept: */*" and "Expect: 100-continue" are switched off
    // (an empty value removes a header), and no User-Agent or Accept-Encoding is set.
    bool hasAccept = false;
    for (const auto& [name, value] : std::as_const(m_requestHeaders)) {
        hasAccept = hasAccept || name.compare("Accept", Qt::CaseInsensitive) == 0;
        // "Name;" is libcurl's way of sending a header whose value is empty.
        m_headerList = append(m_headerList, value.isEmpty() ? name + ';' : name + ": " + value);
    }
    if (!hasAccept)
        m_headerList = append(m_headerList, "Accept:");
    m_headerList = append(m_headerList, "Expect:");
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headerList);

    // No total time limit: 60 s in which not a byte moves ends the request (libcurl counts in
    // whole seconds), and so does a connection not made within that time.
    const long seconds = std::max(1, (inactivityTimeoutMs + 999) / 1000);
    curl_easy_setopt(m_easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(m_easy, CURLOPT_LOW_SPEED_TIME, seconds);
    curl_easy_setopt(m_easy, CURLOPT_CONNECTTIMEOUT_MS, long(inactivityTimeoutMs));
}

void ReceiverReply::runOnThread()
{
    m_thread = std::thread([this] {
        const CURLcode result = curl_easy_perform(m_easy);
        QMetaObject::invokeMethod(
            this,
            [this, result] {
                m_thread.join();
                complete(result);
            },
            Qt::QueuedConnection);
    });
}

void ReceiverReply::abort()
{
    if (m_finished)
        return;
    if (m_thread.joinable()) {
        m_aborting = true; // the transfer's next callback ends it
        return;
    }
    if (m_inMulti)
        m_client->remove(this);
    complete(CURLE_ABORTED_BY_CALLBACK);
}

void ReceiverReply::complete(int result)
{
    if (m_finished)
        return;
    m_finished = true;
    const QString url = m_url.toString();
    if (m_reader.headerBlockTooLarge()) {
        qCWarning(lcReceiver, "Reply from %s dropped: its header block is over %lld bytes",
            qUtf8Printable(url), qlonglong(ReplyLimits::maxHeaderBytes));
    } else if (m_reader.bodyCut()) {
        qCWarning(lcReceiver,
            "Reply from %s cut at %lld bytes of body: the rest is dropped and the connection "
            "closed",
            qUtf8Printable(url), qlonglong(ReplyLimits::maxBodyBytes));
    }
    m_status = m_reader.answer(result == CURLE_OK);
    if (!m_status)
        m_error = QString::fromUtf8(curl_easy_strerror(CURLcode(result)));
    emit finished();
    m_client->finish(this);
}

size_t ReceiverReply::onHeader(char* data, size_t size, size_t count, void* self)
{
    auto* reply = static_cast<ReceiverReply*>(self);
    // A short count ends the transfer: the header block is over its cap.
    return reply->m_reader.takeHeaderLine(QByteArrayView(data, qsizetype(size * count)))
        ? size * count
        : 0;
}

size_t ReceiverReply::onBody(char* data, size_t size, size_t count, void* self)
{
    auto* reply = static_cast<ReceiverReply*>(self);
    return reply->m_reader.takeBody(QByteArrayView(data, qsizetype(size * count))) ? size * count
                                                                                   : 0;
}

size_t ReceiverReply::onRead(char* buffer, size_t size, size_t count, void* self)
{
    auto* reply = static_cast<ReceiverReply*>(self);
    if (reply->m_aborting)
        return CURL_READFUNC_ABORT;
    return reply->readBody(buffer, size * count);
}

size_t ReceiverReply::readBody(char* buffer, size_t size)
{
    // head, then the file's bytes straight into libcurl's buffer, then tail.
    UploadSource& source = *m_upload;
    const qint64 headSize = source.head.size();
    const qint64 fileEnd = headSize + source.fileSize;
    qint64 done = 0;
    while (done < qint64(size)) {
        const qint64 at = source.position;
        const qint64 room = qint64(size) - done;
        qint64 count = 0;
        if (at < headSize) {
            count = std::min(room, headSize - at);
            std::memcpy(buffer + done, source.head.constData() + at, size_t(count));
        } else if (at < fileEnd) {
            count = source.file->read(buffer + done, std::min(room, fileEnd - at));
            if (count <= 0) {
                qCWarning(lcReceiver, "Upload file ended early at byte %lld of %lld", at - headSize,
                    source.fileSize);
                return CURL_READFUNC_ABORT;
            }
        } else {
            count = std::min(room, fileEnd + source.tail.size() - at);
            if (count == 0)
                break;
            std::memcpy(buffer + done, source.tail.constData() + (at - fileEnd), size_t(count));
        }
        done += count;
        source.position += count;
        if (at >= headSize && at < fileEnd && source.position < fileEnd)
            break; // the file reads short of the buffer: the next call goes on
    }
    return size_t(done);
}

int ReceiverReply::onProgress(
    void* self, curl_off_t, curl_off_t, curl_off_t ulTotal, curl_off_t ulNow)
{
    auto* reply = static_cast<ReceiverReply*>(self);
    if (reply->m_aborting)
        return 1; // ends the transfer
    const bool done = ulTotal > 0 && ulNow == ulTotal;
    if (ulNow == reply->m_progressShown
        || (!done && reply->m_sinceProgress.elapsed() < kProgressIntervalMs))
        return 0;
    reply->m_progressShown = ulNow;
    reply->m_sinceProgress.restart();
    QMetaObject::invokeMethod(
        reply, [reply, ulNow, ulTotal] { emit reply->uploadProgress(ulNow, ulTotal); },
        Qt::QueuedConnection);
    return 0;
}

int ReceiverReply::onSocketOptions(void*, curl_socket_t fd, curlsocktype)
{
    setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &kUploadSendBuffer, sizeof kUploadSendBuffer);
    return CURL_SOCKOPT_OK;
}
