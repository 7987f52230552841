#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// Reads one HTTP/1.x answer as it arrives, holding at most its header block: interim 1xx
// answers are skipped, the body is framed (Content-Length, chunked, or up to the close) and
// counted but not kept. The caps of ReplyLimits hold: a header block past maxHeaderBytes fails
// the read; a body past maxBodyBytes ends it early (the rest is to be dropped).
class HttpAnswerReader
{
public:
    enum class State { Head, Body, Done, Failed };
    using Header = QPair<QByteArray, QByteArray>;

    // Takes the next bytes from the connection; once Done or Failed it takes nothing more.
    void feed(const char* data, qint64 size);
    // The peer closed its side: ends a body framed by the close, fails anything unfinished.
    void endOfStream();

    State state() const { return m_state; }
    int status() const { return m_status; }
    const QByteArray& reasonPhrase() const { return m_reason; }
    // The final answer's header lines in their order, as sent.
    const QList<Header>& headers() const { return m_headers; }
    qint64 bodyBytes() const { return m_bodyBytes; }
    // The body went past the cap: the reader stopped there.
    bool bodyCapped() const { return m_bodyCapped; }
    const QString& failure() const { return m_failure; }

private:
    enum class Framing { Length, Chunked, UntilClose };
    enum class ChunkStage { Size, Data, DataEnd, Trailer };

    qint64 feedHead(const char* data, qint64 size);
    bool parseHead(const QByteArray& block);
    void startBody();
    qint64 feedBody(const char* data, qint64 size);
    qint64 feedChunked(const char* data, qint64 size);
    bool takeLine(const char* data, qint64 size, qint64* used, QByteArray* line);
    void countBody(qint64 count);
    void fail(const QString& reason);

    State m_state = State::Head;
    QByteArray m_pending; // the header block so far, or a chunk-size / trailer line
    int m_status = 0;
    QByteArray m_reason;
    QList<Header> m_headers;
    Framing m_framing = Framing::UntilClose;
    ChunkStage m_chunkStage = ChunkStage::Size;
    qint64 m_remaining = 0; // body bytes (Length) or chunk bytes (Chunked) still to come
    qint64 m_bodyBytes = 0;
    bool m_bodyCapped = false;
    QString m_failure;
};
