#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// One heartbeat request to the paired receiver. An instance serves one call and may be dropped
// right after it; the request keeps what it needs alive until it completes.
class PingServer : public QObject
{
    Q_OBJECT
public:
    explicit PingServer(QObject* parent = nullptr);

    // success: the receiver answered 200; message: "CAST_OFF", "DEVICE_BUSY" or empty.
    using Handler = std::function<void(bool success, const QString& message)>;

    // Sends GET /pingServerWithIP on port 5000. The handler is called at once with (false, "")
    // when this computer has no local address; it is not called at all for an unparsable URL,
    // a transport error or a timeout. A missing receiver address is fatal.
    void pingServerHeartbeat(const std::optional<QString>& selectedDeviceIP, Handler handler);

    static QString localWiFiAddress();

    // Reads a finished reply: its printed description, its status (none for a transport
    // failure) and its body within the cap. Prints its lines and fills success and message;
    // returns false when the handler is not to be called. A 200 answer that is not UTF-8 text
    // is fatal.
    static bool readAnswer(const QString& response, std::optional<int> answered,
        const QByteArray& body, bool& success, QString& message);
};
