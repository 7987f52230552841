#pragma once

#include "HostileReply.h"
#include "HttpRequest.h"

#include <QFile>
#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class HttpConnection;
class QTcpServer;
class QUdpSocket;

struct SimulatorOptions
{
    QHostAddress address {QHostAddress::LocalHost};
    quint16 controlPort = 5000;
    quint16 uploadPort = 5505;
    quint16 touchPort = 41863;
    bool touchToQueryIp = false;
    QString uploadDir;
    QString logPath;
};

// A stand-in receiver on real sockets: answers the control requests and uploads as set by
// commands, logs every request as one JSON line, and sends touch datagrams to whoever enabled
// touchback.
class ReceiverSimulator : public QObject
{
    Q_OBJECT
public:
    explicit ReceiverSimulator(SimulatorOptions options, QObject* parent = nullptr);

    bool listen(QString* error);
    // One command line (see --help); returns a reply line, or an error text starting "error:".
    QString runCommand(const QString& line);

signals:
    // A line for standard output that comes later than the command's reply.
    void output(const QString& line);

private:
    struct Answer
    {
        int status = 200;
        QByteArray body = "OK";
        bool silent = false;
        int delayMs = 0; // the answer waits this long (its connection stays open)
    };

    void accept(QTcpServer* server);
    void handle(HttpConnection* connection, const HttpRequest& request);
    void log(const HttpRequest& request, const Answer& answer);
    QString sendTouch(const QByteArray& datagram);
    QString playScript(const QString& path);
    QString setHostile(const QString& arguments);
    void playSteps(std::shared_ptr<QStringList> steps, qsizetype index, int sent);

    SimulatorOptions m_options;
    QTcpServer* m_control;
    QTcpServer* m_upload;
    QUdpSocket* m_udp;
    QFile m_log;
    QHash<QByteArray, Answer> m_answers; // by path
    QHash<QByteArray, HostileReply::Setting> m_hostile; // by path: replies no receiver gives
    QHostAddress m_touchTarget;
    qint64 m_uploadRate = 0; // test-only limit on reading upload bodies, bytes per second
};
