// The heartbeat reply as the application reads it: status, transport error, headers and body.
// Input: two bytes of status, one byte choosing a transport error, then header lines
// ("Name: value") up to an empty line, then the body. A 200 answer whose body is not UTF-8 text
// ends the process by design; such inputs are recognised and skipped, everything else must be
// read without a crash and give one of the described outcomes.
#include "FakeReply.h"
#include "FuzzApplication.h"

#include "receiver/PingServer.h"
#include "receiver/ReceiverSession.h"

#include <QStringDecoder>

#include <array>
#include <cstddef>
#include <cstdint>

namespace {
constexpr std::array kErrors {QNetworkReply::NoError, QNetworkReply::RemoteHostClosedError,
    QNetworkReply::TimeoutError, QNetworkReply::OperationCanceledError,
    QNetworkReply::ContentNotFoundError, QNetworkReply::InternalServerError,
    QNetworkReply::ProxyAuthenticationRequiredError, QNetworkReply::UnknownContentError};

QList<QPair<QByteArray, QByteArray>> parseHeaders(QByteArrayView block)
{
    QList<QPair<QByteArray, QByteArray>> headers;
    for (const QByteArray& line : block.toByteArray().split('\n')) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    return headers;
}

bool isUtf8AsTheReplyReadsIt(const QByteArray& body)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body); // decoding happens on the conversion
    Q_UNUSED(text)
    return !decoder.hasError();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::application();
    if (size < 3)
        return 0;
    const int status = 100 + (data[0] << 8 | data[1]) % 500;
    const auto error = kErrors[data[2] % kErrors.size()];
    const QByteArrayView rest(reinterpret_cast<const char*>(data) + 3, qsizetype(size) - 3);
    const qsizetype split = rest.indexOf("\n\n");
    const auto headers = parseHeaders(split < 0 ? QByteArrayView() : rest.first(split));
    const QByteArray body = (split < 0 ? rest : rest.sliced(split + 2)).toByteArray();

    const bool answered
        = error == QNetworkReply::NoError || error >= QNetworkReply::ProxyConnectionRefusedError;
    if (answered && status == 200 && !isUtf8AsTheReplyReadsIt(body))
        return 0; // the described fatal path

    FakeReply reply(status, error, headers, body);
    bool success = false;
    QString message;
    const std::optional<int> answeredStatus = ReceiverSession::isTransportFailure(&reply)
        ? std::nullopt
        : ReceiverSession::httpStatus(&reply);
    const bool handled = PingServer::readAnswer(&reply, answeredStatus, body, success, message);
    if (handled != answered || (handled && success != (status == 200)))
        __builtin_trap();
    if (!message.isEmpty() && message != QLatin1String("CAST_OFF")
        && message != QLatin1String("DEVICE_BUSY"))
        __builtin_trap();
    return 0;
}
