// The receiver simulator's multipart/form-data check, fed as a stream in pieces of a size the
// input chooses. Input: the boundary up to the first newline, one byte for the piece size, then
// the body. Whatever the body, the check ends with a verdict and a stored file stays inside the
// upload folder.
#include "MultipartReceiver.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static QTemporaryDir folder;
    const QByteArrayView input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype newline = input.indexOf('\n');
    if (newline < 0 || newline + 1 >= input.size())
        return 0;
    const QByteArray boundary = input.first(newline).toByteArray();
    const qsizetype piece = 1 + std::uint8_t(input[newline + 1]) * 16;
    const QByteArrayView body = input.sliced(newline + 2);

    MultipartReceiver receiver(boundary, folder.path());
    for (qsizetype at = 0; at < body.size(); at += piece)
        receiver.feed(body.data() + at, qMin(piece, body.size() - at));
    const QJsonObject verdict = receiver.finish();

    const QString stored = verdict.value(QStringLiteral("storedAs")).toString();
    if (!stored.isEmpty()
        && QFileInfo(stored).absolutePath() != QFileInfo(folder.path()).absoluteFilePath())
        __builtin_trap(); // written outside the upload folder
    QDir dir(folder.path());
    for (const QString& name : dir.entryList(QDir::Files | QDir::Hidden | QDir::System))
        dir.remove(name);
    if (!dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden).isEmpty())
        __builtin_trap(); // something other than a file was made
    return 0;
}
