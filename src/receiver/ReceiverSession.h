#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QNetworkAccessManager;
class QNetworkRequest;
class QNetworkReply;

namespace ReceiverSession {

// The one process-wide HTTP client of the receiver requests. Its transfer timeout is 60 s of
// inactivity; a refused connection fails at once. No proxy: receivers are on the local network.
QNetworkAccessManager* shared();

constexpr int kTransferTimeoutMs = 60000;

// Test-only: shortens the inactivity timeout of the shared client (0 restores 60 s).
void setTransferTimeoutForTesting(int ms);

// Parses a URL text built by plain concatenation. Nothing is percent-encoded on the way: a text
// that is not a valid URL as it stands (a space in the host, say) gives no URL.
std::optional<QUrl> parseUrl(const QString& text);

// A request to the receiver's control port announcing JSON: "Content-Type" and "Accept" are
// both set to "application/json; charset=utf-8".
QNetworkRequest jsonRequest(const QUrl& url);

// True when the reply ended without an HTTP answer (refused, unreachable, timed out, reset):
// the cases in which the requests report nothing.
bool isTransportFailure(const QNetworkReply* reply);

// The HTTP status, or nothing when the reply carries no HTTP response.
std::optional<int> httpStatus(const QNetworkReply* reply);

} // namespace ReceiverSession
