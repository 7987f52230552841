#pragma once

#include <QStringList>
#include <QtMessageHandler>

// Collects the messages of the logging categories while the object lives. Each entry is
// "<category>: <message>"; messages() keeps only the text.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();

    QStringList entries() const;
    QStringList messages(const char* category = nullptr) const;
    void clear();

private:
    QtMessageHandler m_previous = nullptr;
};
