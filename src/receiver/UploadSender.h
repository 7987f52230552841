#pragma once

#include "receiver/HttpAnswerReader.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

// What goes on the wire for one upload: the request's header block and the body's head, the
// file's bytes (from an open file, or from memory), then the body's tail.
struct UploadWire
{
    QByteArray host;
    quint16 port = 0;
    QByteArray requestHead; // request line and header lines, up to the empty line
    QByteArray bodyHead;
    int fileDescriptor = -1; // the content comes from this file (owned; closed at the end) ...
    QByteArray memory; // ... or from these bytes
    qint64 contentSize = 0;
    QByteArray bodyTail;
    int inactivityTimeoutMs = 60000;
};

// How the exchange ended: an answer (status and header lines), or a transport failure.
struct UploadOutcome
{
    enum class Failure {
        None,
        HostNotFound,
        Refused,
        Closed,
        TimedOut,
        Protocol,
        Cancelled,
        Other
    };
    Failure failure = Failure::None;
    QString failureText;
    int status = 0;
    QByteArray reasonPhrase;
    QList<HttpAnswerReader::Header> headers;
    bool bodyCapped = false;
};

// Sends one upload on a socket of its own and reads the answer, blocking the thread it runs on
// (never the main thread). The file's bytes go from the page cache to the socket with
// sendfile(2), in as large steps as the socket takes; every wait is a poll(2) that the
// inactivity timeout and cancel() can end.
class UploadSender
{
public:
    explicit UploadSender(UploadWire wire);
    ~UploadSender();
    UploadSender(const UploadSender&) = delete;
    UploadSender& operator=(const UploadSender&) = delete;

    // Body bytes sent so far, reported after each step; called on the sending thread.
    using Progress = std::function<void(qint64 sent)>;
    UploadOutcome run(const Progress& progress);
    // From any thread: run() gives up at its next wait.
    void cancel();

private:
    enum class Wait { Ready, TimedOut, Cancelled };
    bool connectSocket(UploadOutcome* outcome);
    bool sendAll(const Progress& progress, UploadOutcome* outcome);
    bool sendPiece(const char* data, qint64 size, qint64* done);
    bool sendContent(qint64* done);
    void readAnswer(UploadOutcome* outcome);
    bool readAvailable(UploadOutcome* outcome);
    Wait waitFor(short events, short* revents);
    void fail(UploadOutcome* outcome, UploadOutcome::Failure failure, const QString& text);

    UploadWire m_wire;
    int m_socket = -1;
    int m_wake = -1;
    HttpAnswerReader m_reader;
};
