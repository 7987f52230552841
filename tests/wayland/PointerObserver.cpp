#include "PointerObserver.h"

#include <QTest>

PointerObserver::PointerObserver(QObject* parent)
    : QObject(parent)
{
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &PointerObserver::readLines);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
}

PointerObserver::~PointerObserver()
{
    m_process.kill();
    m_process.waitForFinished(5000);
}

bool PointerObserver::start(int timeoutMs)
{
    m_process.start(QStringLiteral(WAYLAND_POINTER_OBSERVER), {});
    if (!m_process.waitForStarted(timeoutMs))
        return false;
    return QTest::qWaitFor(
               [this] { return m_ready || m_process.state() == QProcess::NotRunning; }, timeoutMs)
        && m_ready;
}

QList<PointerObserver::Event> PointerObserver::buttons() const
{
    QList<Event> result;
    for (const Event& event : m_events)
        if (event.kind == QLatin1String("pressed") || event.kind == QLatin1String("released"))
            result.append(event);
    return result;
}

void PointerObserver::readLines()
{
    m_buffer += m_process.readAllStandardOutput();
    qsizetype newline = 0;
    while ((newline = m_buffer.indexOf('\n')) >= 0) {
        const QString line = QString::fromUtf8(m_buffer.left(newline));
        m_buffer.remove(0, newline + 1);
        m_log += line + QLatin1Char('\n');
        const QStringList parts = line.split(QLatin1Char(' '));
        if (parts.value(0) == QLatin1String("ready")) {
            m_ready = true;
            continue;
        }
        Event event;
        event.us = parts.value(1).toLongLong();
        if (parts.value(0) == QLatin1String("button")) {
            event.kind = parts.value(2);
            event.at = m_position;
        } else {
            event.kind = parts.value(0);
            if (parts.size() >= 4)
                m_position = event.at = QPointF(parts[2].toDouble(), parts[3].toDouble());
        }
        m_events.append(event);
    }
}
