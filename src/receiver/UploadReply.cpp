#include "receiver/UploadReply.h"

#include "platform/Logging.h"
#include "receiver/ReplyLimits.h"
#include "receiver/UploadBodyDevice.h"

#include <QBuffer>
#include <QFile>
#include <QLocale>
#include <QThread>

#include <chrono>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr auto kProgressInterval = std::chrono::milliseconds(100);

// Qt's client asks for an answer in the system's language (English for the C locale).
QByteArray acceptLanguage()
{
    const QString locale = QLocale::system().name().replace(u'_', u'-');
    if (locale == QLatin1String("C"))
        return "en,*";
    if (locale.startsWith(QLatin1String("en-")))
        return locale.toLatin1() + ",*";
    return locale.toLatin1() + ",en,*";
}

QNetworkReply::NetworkError errorFor(UploadOutcome::Failure failure)
{
    switch (failure) {
    case UploadOutcome::Failure::HostNotFound:
        return QNetworkReply::HostNotFoundError;
    case UploadOutcome::Failure::Refused:
        return QNetworkReply::ConnectionRefusedError;
    case UploadOutcome::Failure::Closed:
        return QNetworkReply::RemoteHostClosedError;
    case UploadOutcome::Failure::TimedOut:
        return QNetworkReply::TimeoutError;
    case UploadOutcome::Failure::Protocol:
        return QNetworkReply::ProtocolFailure;
    case UploadOutcome::Failure::Cancelled:
        return QNetworkReply::OperationCanceledError;
    case UploadOutcome::Failure::Other:
    case UploadOutcome::Failure::None:
        break;
    }
    return QNetworkReply::UnknownNetworkError;
}

// The content's source: a descriptor of the file of its own (the device may go first), or the
// bytes in memory.
void takeContent(const UploadBodyDevice& body, UploadWire* wire)
{
    if (auto* file = qobject_cast<QFile*>(body.file()))
        wire->fileDescriptor = ::fcntl(file->handle(), F_DUPFD_CLOEXEC, 0);
    else if (auto* buffer = qobject_cast<QBuffer*>(body.file()))
        wire->memory = buffer->data();
}

} // namespace

UploadReply::UploadReply(const QNetworkRequest& request, const UploadBodyDevice& body,
    int inactivityTimeoutMs, QObject* parent)
    : QNetworkReply(parent)
{
    setRequest(request);
    setUrl(request.url());
    setOperation(QNetworkAccessManager::PostOperation);
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);

    UploadWire wire;
    wire.host = request.url().host(QUrl::FullyEncoded).toLatin1();
    wire.port = request.url().port(80);
    wire.requestHead = requestHead(request);
    wire.bodyHead = body.head();
    takeContent(body, &wire);
    wire.contentSize = body.fileSize();
    wire.bodyTail = body.tail();
    wire.inactivityTimeoutMs = inactivityTimeoutMs > 0 ? inactivityTimeoutMs : 60000;
    m_total = body.size();
    m_sender = std::make_unique<UploadSender>(std::move(wire));

    auto lastReport = std::chrono::steady_clock::time_point();
    UploadSender::Progress progress = [this, lastReport](qint64 sent) mutable {
        m_sent.store(sent);
        const auto now = std::chrono::steady_clock::now();
        if ((sent < m_total && now - lastReport < kProgressInterval)
            || m_progressQueued.exchange(true))
            return;
        lastReport = now;
        QMetaObject::invokeMethod(this, &UploadReply::reportProgress, Qt::QueuedConnection);
    };
    m_thread.reset(QThread::create([this, progress] { m_outcome = m_sender->run(progress); }));
    connect(m_thread.get(), &QThread::finished, this, &UploadReply::complete);
    m_thread->start();
}

UploadReply::~UploadReply()
{
    m_sender->cancel();
    m_thread->wait();
}

void UploadReply::abort()
{
    m_sender->cancel();
}

QByteArray UploadReply::requestHead(const QNetworkRequest& request)
{
    const QUrl url = request.url();
    QByteArray host = url.host(QUrl::FullyEncoded).toLatin1();
    if (host.contains(':'))
        host = '[' + host + ']';
    if (url.port() != -1 && url.port() != 80)
        host += ':' + QByteArray::number(url.port());
    QByteArray path = url.path(QUrl::FullyEncoded).toLatin1();
    if (path.isEmpty())
        path = "/";
    if (url.hasQuery())
        path += '?' + url.query(QUrl::FullyEncoded).toLatin1();

    QByteArray head = "POST " + path + " HTTP/1.1\r\nHost: " + host + "\r\n";
    for (const QByteArray& name : request.rawHeaderList())
        head += name + ": " + request.rawHeader(name) + "\r\n";
    head += "Connection: Keep-Alive\r\n";
    head += "Accept-Encoding: zstd, br, gzip, deflate\r\n";
    head += "Accept-Language: " + acceptLanguage() + "\r\n";
    head += "User-Agent: Mozilla/5.0\r\n\r\n";
    return head;
}

void UploadReply::reportProgress()
{
    m_progressQueued.store(false);
    emit uploadProgress(m_sent.load(), m_total);
}

void UploadReply::complete()
{
    if (isFinished())
        return;
    reportProgress();
    if (m_outcome.failure == UploadOutcome::Failure::None) {
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, m_outcome.status);
        setAttribute(QNetworkRequest::HttpReasonPhraseAttribute, m_outcome.reasonPhrase);
        // As Qt's client does: a repeated name joins the earlier values and moves to the end.
        for (const auto& [name, value] : m_outcome.headers) {
            QByteArray joined = rawHeader(name);
            if (name.compare("location", Qt::CaseInsensitive) == 0)
                joined.clear();
            if (!joined.isEmpty())
                joined += name.compare("set-cookie", Qt::CaseInsensitive) == 0 ? "\n" : ", ";
            setRawHeader(name, joined + value);
        }
        if (m_outcome.bodyCapped)
            qCWarning(lcReceiver,
                "Upload answer from %s is longer than %lld bytes: the rest was dropped and the "
                "connection closed",
                qUtf8Printable(url().host()), ReplyLimits::maxBodyBytes);
    } else {
        const NetworkError code = errorFor(m_outcome.failure);
        setError(code, m_outcome.failureText);
        emit errorOccurred(code);
    }
    setFinished(true);
    emit finished();
}
