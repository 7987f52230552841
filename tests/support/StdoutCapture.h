#pragma once

#include <QByteArrayList>

// Collects the lines printed through StdoutLine while the object lives.
class StdoutCapture
{
public:
    StdoutCapture();
    ~StdoutCapture();

    const QByteArrayList& lines() const { return m_lines; }
    void clear() { m_lines.clear(); }

private:
    QByteArrayList m_lines;
};
