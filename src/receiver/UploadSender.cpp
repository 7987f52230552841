#include "receiver/UploadSender.h"

#include "platform/Logging.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
constexpr qint64 kLargestStep = 0x7ffff000; // what one sendfile(2) call moves at most
constexpr int kReadBuffer = 64 * 1024;
// Asked of the kernel, which doubles it: 1 MiB in flight covers the bandwidth-delay product of a
// busy Wi-Fi link. The self-tuned buffer grows to 4 MiB, and moving that much at once keeps a
// core inside the kernel for milliseconds, where it is not preempted (most distributions'
// kernels): touches arriving meanwhile waited (bench/run touch-path-upload).
constexpr int kSendBuffer = 512 * 1024;
} // namespace

UploadSender::UploadSender(UploadWire wire)
    : m_wire(std::move(wire))
    , m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{ }

UploadSender::~UploadSender()
{
    if (m_socket >= 0)
        ::close(m_socket);
    if (m_wire.fileDescriptor >= 0)
        ::close(m_wire.fileDescriptor);
    if (m_wake >= 0)
        ::close(m_wake);
}

void UploadSender::cancel()
{
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake, &one, sizeof one);
}

UploadOutcome UploadSender::run(const Progress& progress)
{
    UploadOutcome outcome;
    // Read ahead further: the file is read once, front to back.
    if (m_wire.fileDescriptor >= 0)
        ::posix_fadvise(m_wire.fileDescriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    if (connectSocket(&outcome) && sendAll(progress, &outcome)
        && m_reader.state() != HttpAnswerReader::State::Done)
        readAnswer(&outcome);
    if (outcome.failure == UploadOutcome::Failure::None) {
        outcome.status = m_reader.status();
        outcome.reasonPhrase = m_reader.reasonPhrase();
        outcome.headers = m_reader.headers();
        outcome.bodyCapped = m_reader.bodyCapped();
    }
    // Nothing more is read from this connection, whatever the receiver still sends.
    if (m_socket >= 0)
        ::close(m_socket);
    m_socket = -1;
    return outcome;
}

bool UploadSender::connectSocket(UploadOutcome* outcome)
{
    addrinfo hints {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const QByteArray port = QByteArray::number(m_wire.port);
    if (::getaddrinfo(m_wire.host.constData(), port.constData(), &hints, &found) != 0) {
        fail(outcome, UploadOutcome::Failure::HostNotFound, QStringLiteral("host not found"));
        return false;
    }
    int error = ECONNREFUSED;
    for (addrinfo* address = found; address && m_socket < 0; address = address->ai_next) {
        m_socket = ::socket(address->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (m_socket < 0)
            continue;
        error = ::connect(m_socket, address->ai_addr, address->ai_addrlen) == 0 ? 0 : errno;
        short revents = 0;
        if (error == EINPROGRESS) {
            const Wait wait = waitFor(POLLOUT, &revents);
            socklen_t length = sizeof error;
            error = wait == Wait::TimedOut ? ETIMEDOUT : wait == Wait::Cancelled ? ECANCELED : 0;
            if (wait == Wait::Ready)
                ::getsockopt(m_socket, SOL_SOCKET, SO_ERROR, &error, &length);
        }
        if (error != 0) {
            ::close(m_socket);
            m_socket = -1;
        }
    }
    ::freeaddrinfo(found);
    if (m_socket < 0) {
        const auto failure = error == ETIMEDOUT ? UploadOutcome::Failure::TimedOut
            : error == ECANCELED                ? UploadOutcome::Failure::Cancelled
                                                : UploadOutcome::Failure::Refused;
        fail(outcome, failure, QString::fromLocal8Bit(std::strerror(error)));
        return false;
    }
    // The body's last bytes go out at once instead of waiting for an acknowledgement.
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::setsockopt(m_socket, SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);
    return true;
}

bool UploadSender::sendAll(const Progress& progress, UploadOutcome* outcome)
{
    const QByteArray first = m_wire.requestHead + m_wire.bodyHead;
    const qint64 contentEnd = first.size() + m_wire.contentSize;
    const qint64 total = contentEnd + m_wire.bodyTail.size();
    qint64 sent = 0;
    while (sent < total) {
        bool stepped = false;
        if (sent < first.size())
            stepped = sendPiece(first.constData() + sent, first.size() - sent, &sent);
        else if (sent < contentEnd) {
            qint64 done = sent - first.size();
            stepped = sendContent(&done);
            sent = first.size() + done;
        } else {
            const qint64 offset = sent - contentEnd;
            stepped = sendPiece(
                m_wire.bodyTail.constData() + offset, m_wire.bodyTail.size() - offset, &sent);
        }
        if (stepped) {
            progress(qMax<qint64>(0, sent - m_wire.requestHead.size()));
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno == EAGAIN) {
            short revents = 0;
            const Wait wait = waitFor(POLLOUT | POLLIN, &revents);
            if (wait == Wait::TimedOut)
                fail(outcome, UploadOutcome::Failure::TimedOut, QStringLiteral("timed out"));
            if (wait == Wait::Cancelled)
                fail(outcome, UploadOutcome::Failure::Cancelled, QStringLiteral("cancelled"));
            if (wait != Wait::Ready)
                return false;
            // An answer (or the end) before the whole body went out.
            if ((revents & (POLLIN | POLLHUP | POLLERR)) && !readAvailable(outcome))
                return false;
            if (m_reader.state() == HttpAnswerReader::State::Done)
                return true;
            continue;
        }
        if (errno == 0) {
            qCWarning(lcReceiver, "Upload file ended early at byte %lld of %lld",
                sent - first.size(), m_wire.contentSize);
            fail(outcome, UploadOutcome::Failure::Other, QStringLiteral("file ended early"));
            return false;
        }
        // The receiver stopped taking the body; its answer may be in already.
        readAvailable(outcome);
        if (m_reader.state() == HttpAnswerReader::State::Done)
            return true;
        if (outcome->failure == UploadOutcome::Failure::None)
            fail(outcome, UploadOutcome::Failure::Closed, QString::fromLocal8Bit(strerror(errno)));
        return false;
    }
    return true;
}

// One step of a piece held in memory; false with errno set when nothing could be sent.
bool UploadSender::sendPiece(const char* data, qint64 size, qint64* done)
{
    const ssize_t n = ::send(m_socket, data, size, MSG_NOSIGNAL | MSG_MORE);
    if (n <= 0)
        return false;
    *done += n;
    return true;
}

// One step of the file's bytes; false with errno set (0: the file ended early).
bool UploadSender::sendContent(qint64* done)
{
    const qint64 left = m_wire.contentSize - *done;
    ssize_t n = 0;
    if (m_wire.fileDescriptor >= 0) {
        off_t offset = *done;
        n = ::sendfile(m_socket, m_wire.fileDescriptor, &offset, qMin(left, kLargestStep));
    } else {
        n = ::send(m_socket, m_wire.memory.constData() + *done, left, MSG_NOSIGNAL | MSG_MORE);
    }
    if (n == 0)
        errno = 0;
    if (n <= 0)
        return false;
    *done += n;
    return true;
}

void UploadSender::readAnswer(UploadOutcome* outcome)
{
    while (m_reader.state() != HttpAnswerReader::State::Done) {
        short revents = 0;
        const Wait wait = waitFor(POLLIN, &revents);
        if (wait == Wait::TimedOut)
            fail(outcome, UploadOutcome::Failure::TimedOut, QStringLiteral("timed out"));
        if (wait == Wait::Cancelled)
            fail(outcome, UploadOutcome::Failure::Cancelled, QStringLiteral("cancelled"));
        if (wait != Wait::Ready || !readAvailable(outcome))
            return;
    }
}

// Reads what has arrived; false once the exchange has failed.
bool UploadSender::readAvailable(UploadOutcome* outcome)
{
    char buffer[kReadBuffer];
    while (m_reader.state() != HttpAnswerReader::State::Done) {
        const ssize_t n = ::recv(m_socket, buffer, sizeof buffer, 0);
        if (n > 0) {
            m_reader.feed(buffer, n);
        } else if (n == 0) {
            m_reader.endOfStream();
        } else if (errno == EINTR) {
            continue;
        } else if (errno == EAGAIN) {
            return true;
        } else {
            fail(outcome, UploadOutcome::Failure::Closed, QString::fromLocal8Bit(strerror(errno)));
            return false;
        }
        if (m_reader.state() == HttpAnswerReader::State::Failed) {
            fail(outcome,
                n == 0 ? UploadOutcome::Failure::Closed : UploadOutcome::Failure::Protocol,
                m_reader.failure());
            return false;
        }
    }
    return true;
}

UploadSender::Wait UploadSender::waitFor(short events, short* revents)
{
    pollfd fds[2] = {{m_socket, events, 0}, {m_wake, POLLIN, 0}};
    for (;;) {
        const int n = ::poll(fds, 2, m_wire.inactivityTimeoutMs);
        if (n < 0 && errno == EINTR)
            continue;
        if (n == 0)
            return Wait::TimedOut;
        if (fds[1].revents & POLLIN)
            return Wait::Cancelled;
        *revents = fds[0].revents;
        return Wait::Ready;
    }
}

void UploadSender::fail(UploadOutcome* outcome, UploadOutcome::Failure failure, const QString& text)
{
    outcome->failure = failure;
    outcome->failureText = text;
}
