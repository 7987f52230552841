#include "LogCapture.h"

#include <QMutex>

namespace {
struct Entry
{
    QString category;
    QString message;
};
QMutex g_mutex;
QList<Entry> g_entries;
QtMessageHandler g_previous = nullptr;

void handler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    {
        QMutexLocker lock(&g_mutex);
        g_entries.append({QString::fromUtf8(context.category ? context.category : ""), message});
    }
    if (g_previous)
        g_previous(type, context, message);
}
} // namespace

LogCapture::LogCapture()
{
    g_previous = qInstallMessageHandler(handler);
    m_previous = g_previous;
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    QMutexLocker lock(&g_mutex);
    g_entries.clear();
}

QStringList LogCapture::entries() const
{
    QMutexLocker lock(&g_mutex);
    QStringList out;
    for (const Entry& e : g_entries)
        out << e.category + QStringLiteral(": ") + e.message;
    return out;
}

QStringList LogCapture::messages(const char* category) const
{
    QMutexLocker lock(&g_mutex);
    QStringList out;
    for (const Entry& e : g_entries) {
        if (!category || e.category == QLatin1String(category))
            out << e.message;
    }
    return out;
}

void LogCapture::clear()
{
    QMutexLocker lock(&g_mutex);
    g_entries.clear();
}
