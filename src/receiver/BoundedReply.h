#pragma once

#include <QByteArray>
#include <QObject>

#include <functional>
#include <optional>

class QNetworkReply;

// Reads a receiver's reply within the caps of ReplyLimits. A body past its cap is cut there: the
// rest is dropped, the connection closed, one line logged, and the reply counts as answered with
// what was read. A header block past its cap is a transport failure (also logged once), and so
// is one that has not ended within headerDeadline of the request going out: Qt's HTTP layer
// reads a header block without a limit of its own, so an endless one is stopped by time.
class BoundedReply : public QObject
{
    Q_OBJECT
public:
    // status: the HTTP status, or nothing for a transport failure; body: at most the cap.
    using Done = std::function<void(
        QNetworkReply* reply, std::optional<int> status, const QByteArray& body)>;

    static constexpr int kHeaderDeadlineMs = 10000;
    // Test-only: a shorter header deadline for replies watched afterwards (0 restores 10 s).
    static void setHeaderDeadlineForTesting(int ms);

    // Watches reply (which deletes itself once done) and calls done exactly once.
    static void read(QNetworkReply* reply, Done done);

    // The longest prefix of bytes that does not end inside a UTF-8 sequence: a cut body keeps
    // whole characters only.
    static QByteArray withoutBrokenTail(QByteArray bytes);

private:
    BoundedReply(QNetworkReply* reply, Done done);

    void onMetaData();
    void onHeaderDeadline();
    void dropForHeaders(const char* why);
    void onReadyRead();
    void onFinished();
    void cut();
    void closeConnection();

    QNetworkReply* m_reply;
    Done m_done;
    QByteArray m_body;
    bool m_cut = false;
    bool m_headersTooLarge = false;
    bool m_headersSeen = false;
};
