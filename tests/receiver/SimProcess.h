#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

// A receiver-sim process for one test: started on an address with a log and an upload folder,
// driven by commands on its standard input.
class SimProcess
{
public:
    explicit SimProcess(const QString& address, const QStringList& extraArguments = {});
    ~SimProcess();

    bool isReady() const { return m_ready; }
    // Sends one command and waits for its "ok"/"error" line; returns that line.
    QByteArray command(const QByteArray& line);
    // The requests logged so far, one JSON object each.
    QList<QJsonObject> requests() const;
    // Waits until at least count requests were logged.
    bool waitForRequests(int count, int timeoutMs = 10000) const;
    QString uploadDir() const { return m_dir.filePath(QStringLiteral("uploads")); }
    // Everything printed so far.
    QByteArray output()
    {
        m_output += m_process.readAllStandardOutput();
        return m_output;
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QByteArray m_output;
    bool m_ready = false;
};

// Headers of a logged request, as name -> value pairs in their order.
QList<QPair<QString, QString>> loggedHeaders(const QJsonObject& request);
