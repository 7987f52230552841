#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

#include <optional>

class ReceiverReply;

// Readable descriptions of the values the request classes print on standard output. Kept in
// one place so every line has the same form:
//   optional text     Optional("text") or nil
//   byte buffer       N bytes
//   optional value    Optional(<description>) or nil
//   response          <HTTPURLResponse: URL: ..., status code: N, headers: {"Name": "value", ...}>
namespace Describe {

QString optionalText(const std::optional<QString>& text);
// The same for text already in UTF-8 (which must be valid): Optional("text"), built on the bytes
// so that a long reply body is escaped without a detour through UTF-16.
QByteArray optionalUtf8Text(QByteArrayView utf8);
QString optional(const std::optional<QString>& description);
QString bytes(qint64 count);
QString response(const ReceiverReply* reply);
QString optionalResponse(const ReceiverReply* reply);
// A header record in its own order: ["Name": "value", ...]
QString headers(const QList<QPair<QByteArray, QByteArray>>& headers);

} // namespace Describe
