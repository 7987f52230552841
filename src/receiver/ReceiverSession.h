#pragma once

#include "receiver/ReceiverHttpClient.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace ReceiverSession {

// The one process-wide HTTP client of the receiver requests. Its transfer timeout is 60 s of
// inactivity; a refused connection fails at once. No proxy: receivers are on the local network.
ReceiverHttpClient* shared();

constexpr int kTransferTimeoutMs = 60000;

// Test-only: shortens the inactivity timeout of the shared client (0 restores 60 s); libcurl
// counts it in whole seconds.
void setTransferTimeoutForTesting(int ms);

// Parses a URL text built by plain concatenation. Nothing is percent-encoded on the way: a text
// that is not a valid URL as it stands (a space in the host, say) gives no URL.
std::optional<QUrl> parseUrl(const QString& text);

// The headers of a request to the receiver's control port announcing JSON: "Content-Type" and
// "Accept", both "application/json; charset=utf-8".
QList<ReceiverHttpClient::Header> jsonHeaders();

} // namespace ReceiverSession
