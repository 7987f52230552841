#pragma once

#include "receiver/ReplyLimits.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QPair>

#include <optional>

// What the HTTP client hands over of one answer, kept within the caps of ReplyLimits: the header
// lines of each response (an interim 1xx one is replaced by the next), and the body up to its
// cap. Knows nothing of sockets, so it is exercised on its own (unit tests, a fuzz target).
class ReplyReader
{
public:
    using Header = QPair<QByteArray, QByteArray>;

    // One header line as the client gives it: the status line, a "Name: value" line or the
    // blank line that ends a block, each with its line end. False: the header bytes of this
    // reply are over their cap, and the reply is to be dropped.
    bool takeHeaderLine(QByteArrayView line);
    // Body bytes as they arrive. False: the body has reached its cap; what fits is kept (ending
    // on a whole UTF-8 character) and the rest is to be dropped.
    bool takeBody(QByteArrayView bytes);

    // The answer's status once the transfer has ended (completed: it ended without an error):
    // nothing when no answer arrived. A body cut at its cap still counts as answered.
    std::optional<int> answer(bool completed) const;

    // The status of the last status line read; 0 before one.
    int status() const { return m_status; }
    // The last response's headers in their order; a name that comes again (in any letter case)
    // has its values joined with ", " and moves to the end, the way Qt's client reports them.
    const QList<Header>& headers() const { return m_headers; }
    const QByteArray& body() const { return m_body; }
    bool headerBlockTooLarge() const { return m_headerBlockTooLarge; }
    bool bodyCut() const { return m_bodyCut; }

    // The longest prefix of bytes that does not end inside a UTF-8 sequence.
    static QByteArray withoutBrokenTail(QByteArray bytes);

private:
    void addHeader(QByteArray name, QByteArray value);

    int m_status = 0;
    qint64 m_headerBytes = 0;
    QList<Header> m_headers;
    QByteArray m_body;
    bool m_headerBlockTooLarge = false;
    bool m_bodyCut = false;
};
