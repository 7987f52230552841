// The heartbeat reply as the application reads what the HTTP client hands over: header lines,
// the body within its cap, the answer's status, and the heartbeat's status and keyword rules.
// Input: one byte (bit 0: the transfer ended without an error; the other bits: how often the
// body is fed again, to reach the cap), then the reply as sent: a status line and header lines
// each ending in "\n" up to an empty line, then the body. A 200 answer whose body is not UTF-8
// text ends the process by design; such inputs are recognised and skipped, everything else must
// be read without a crash, within the caps, and give one of the described outcomes.
#include "FuzzApplication.h"

#include "receiver/PingServer.h"
#include "receiver/ReplyReader.h"

#include <QStringDecoder>

#include <cstddef>
#include <cstdint>

namespace {
bool isUtf8(const QByteArray& body)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(body);
    Q_UNUSED(text)
    return !decoder.hasError();
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::application();
    if (size < 1)
        return 0;
    const bool completed = data[0] & 1;
    const int repeats = 1 + (data[0] >> 1) * 20;
    QByteArrayView rest(reinterpret_cast<const char*>(data) + 1, qsizetype(size) - 1);

    ReplyReader reader;
    bool open = true; // false once a callback has ended the transfer
    qint64 headerBytes = 0;
    while (open && !rest.isEmpty()) {
        const qsizetype end = rest.indexOf('\n');
        const QByteArrayView line = end < 0 ? rest : rest.first(end + 1);
        rest = rest.sliced(line.size());
        headerBytes += line.size();
        open = reader.takeHeaderLine(line);
        if (line.trimmed().isEmpty() && reader.status() >= 200)
            break; // the final answer's block has ended
    }
    if (!open && headerBytes <= ReplyLimits::maxHeaderBytes)
        __builtin_trap();
    for (int i = 0; open && i < repeats && !rest.isEmpty(); ++i)
        open = reader.takeBody(rest);
    if (reader.body().size() > ReplyLimits::maxBodyBytes)
        __builtin_trap();
    if (!open && !reader.headerBlockTooLarge() && !reader.bodyCut())
        __builtin_trap();

    const std::optional<int> status = reader.answer(completed && open);
    if (status && *status == 200 && !isUtf8(reader.body()))
        return 0; // the described fatal path
    bool success = false;
    QString message;
    const bool handled = PingServer::readAnswer(
        QStringLiteral("response"), status, reader.body(), success, message);
    if (handled != status.has_value() || (handled && success != (*status == 200)))
        __builtin_trap();
    if (!message.isEmpty() && message != QLatin1String("CAST_OFF")
        && message != QLatin1String("DEVICE_BUSY"))
        __builtin_trap();
    if (message == QLatin1String("CAST_OFF") && !reader.body().contains("CAST_OFF"))
        __builtin_trap();
    return 0;
}
