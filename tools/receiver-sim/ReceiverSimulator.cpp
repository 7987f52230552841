#include "ReceiverSimulator.h"

#include "HttpConnection.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTcpServer>
#include <QTextStream>
#include <QTimer>

#include <QUdpSocket>
#include <QUrlQuery>
#include <algorithm>
#include <memory>

#include <cstdio>

ReceiverSimulator::ReceiverSimulator(SimulatorOptions options, QObject* parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_control(new QTcpServer(this))
    , m_upload(new QTcpServer(this))
    , m_udp(new QUdpSocket(this))
{
    connect(m_control, &QTcpServer::newConnection, this, [this] { accept(m_control); });
    connect(m_upload, &QTcpServer::newConnection, this, [this] { accept(m_upload); });
}

bool ReceiverSimulator::listen(QString* error)
{
    if (!m_options.logPath.isEmpty()) {
        m_log.setFileName(m_options.logPath);
        if (!m_log.open(QIODevice::WriteOnly | QIODevice::Append)) {
            *error = QStringLiteral("cannot open log %1: %2")
                         .arg(m_options.logPath, m_log.errorString());
            return false;
        }
    }
    for (auto [server, port] : {std::pair {m_control, m_options.controlPort},
             std::pair {m_upload, m_options.uploadPort}}) {
        if (!server->listen(m_options.address, port)) {
            *error = QStringLiteral("cannot listen on %1:%2: %3")
                         .arg(m_options.address.toString())
                         .arg(port)
                         .arg(server->errorString());
            return false;
        }
    }
    return true;
}

void ReceiverSimulator::accept(QTcpServer* server)
{
    while (QTcpSocket* socket = server->nextPendingConnection()) {
        auto* connection = new HttpConnection(socket, m_options.uploadDir, this);
        if (server == m_upload)
            connection->setUploadRate(m_uploadRate);
        connect(connection, &HttpConnection::requestReceived, this,
            [this, connection](const HttpRequest& request) { handle(connection, request); });
        connect(connection, &HttpConnection::malformed, this,
            [](const QString& reason, const QHostAddress& peer) {
                std::fprintf(stderr, "receiver-sim: malformed request from %s: %s\n",
                    qPrintable(peer.toString()), qPrintable(reason));
            });
    }
}

void ReceiverSimulator::handle(HttpConnection* connection, const HttpRequest& request)
{
    const QByteArray path = request.path();
    Answer answer = m_answers.value(path);
    const bool known = path == "/pingServerWithIP" || path == "/enableWifiTouchback"
        || path == "/ws" || path == "/uploadfile";
    if (!known && !m_answers.contains(path))
        answer = Answer {404, "Not Found", false};
    if (path == "/uploadfile" && !request.upload.value(QStringLiteral("ok")).toBool()
        && !m_answers.contains(path))
        answer = Answer {400, "Bad multipart body", false};
    if (path == "/enableWifiTouchback") {
        const QUrlQuery query(QString::fromUtf8(request.query()));
        m_touchTarget = m_options.touchToQueryIp
            ? QHostAddress(query.queryItemValue(QStringLiteral("ip")))
            : request.peer;
    }
    log(request, answer);
    if (const auto hostile = m_hostile.constFind(path); hostile != m_hostile.cend())
        HostileReply::play(connection->socket(), *hostile, [this, path](const QString& line) {
            emit output(QString::fromUtf8(path) + QLatin1Char(' ') + line);
        });
    else if (answer.silent)
        return;
    else if (answer.delayMs > 0)
        // Precise: a coarse timer may fire up to 5 % early, and a delayed answer is measured.
        QTimer::singleShot(answer.delayMs, Qt::PreciseTimer, connection,
            [connection, answer] { connection->respond(answer.status, answer.body); });
    else
        connection->respond(answer.status, answer.body);
}

void ReceiverSimulator::log(const HttpRequest& request, const Answer& answer)
{
    if (!m_log.isOpen())
        return;
    QJsonArray headers;
    for (const auto& [name, value] : request.headers)
        headers.append(QJsonArray {QString::fromLatin1(name), QString::fromUtf8(value)});
    QJsonObject line {
        {QStringLiteral("method"), QString::fromLatin1(request.method)},
        {QStringLiteral("target"), QString::fromUtf8(request.target)},
        {QStringLiteral("port"), request.localPort},
        {QStringLiteral("peer"), request.peer.toString()},
        {QStringLiteral("headers"), headers},
        {QStringLiteral("bodyLength"), request.bodyLength},
        {QStringLiteral("sha256"), QString::fromLatin1(request.bodySha256)},
        {QStringLiteral("answer"), answer.silent ? QJsonValue() : QJsonValue(answer.status)},
    };
    if (request.body.size() <= 4096 && request.upload.isEmpty())
        line[QStringLiteral("body")] = QString::fromUtf8(request.body);
    if (!request.upload.isEmpty())
        line[QStringLiteral("upload")] = request.upload;
    m_log.write(QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n');
    m_log.flush();
}

QString ReceiverSimulator::sendTouch(const QByteArray& datagram)
{
    if (m_touchTarget.isNull())
        return QStringLiteral("error: touchback has not been enabled by anyone");
    if (m_udp->writeDatagram(datagram, m_touchTarget, m_options.touchPort) != datagram.size())
        return QStringLiteral("error: send failed: ") + m_udp->errorString();
    return QStringLiteral("sent %1 to %2:%3")
        .arg(QString::fromUtf8(datagram), m_touchTarget.toString())
        .arg(m_options.touchPort);
}

QString ReceiverSimulator::playScript(const QString& path)
{
    QFile script(path);
    if (!script.open(QIODevice::ReadOnly | QIODevice::Text))
        return QStringLiteral("error: cannot read ") + path;
    if (m_touchTarget.isNull())
        return QStringLiteral("error: touchback has not been enabled by anyone");
    auto steps = std::make_shared<QStringList>();
    while (!script.atEnd()) {
        const QString line = QString::fromUtf8(script.readLine()).trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            steps->append(line);
    }
    const auto datagrams = std::count_if(steps->cbegin(), steps->cend(),
        [](const QString& step) { return !step.startsWith(QLatin1String("delay ")); });
    playSteps(steps, 0, 0);
    return QStringLiteral("ok script %1 (%2 datagrams)").arg(path).arg(datagrams);
}

void ReceiverSimulator::playSteps(std::shared_ptr<QStringList> steps, qsizetype index, int sent)
{
    // Delays are timers, so requests keep being answered while a script plays.
    for (; index < steps->size(); ++index) {
        const QString& step = steps->at(index);
        if (step.startsWith(QLatin1String("delay "))) {
            QTimer::singleShot(step.mid(6).toInt(), this,
                [this, steps, index, sent] { playSteps(steps, index + 1, sent); });
            return;
        }
        const QString reply = sendTouch(step.toUtf8());
        if (reply.startsWith(QLatin1String("error:"))) {
            emit output(reply);
            return;
        }
        ++sent;
    }
    emit output(QStringLiteral("played %1 datagrams").arg(sent));
}

// hostile PATH MODE [ARG]: every later request to PATH gets that reply (HostileReply.h).
QString ReceiverSimulator::setHostile(const QString& arguments)
{
    const QString path = arguments.section(QLatin1Char(' '), 0, 0);
    QString error;
    const auto setting = HostileReply::parse(arguments.section(QLatin1Char(' '), 1), &error);
    if (!path.startsWith(QLatin1Char('/')) || !setting)
        return QStringLiteral("error: usage: hostile PATH endless|huge-headers|slow|slow-headers|"
                              "reset-mid-body|garbage-status [ARG]")
            + (error.isEmpty() ? QString() : QStringLiteral(" (") + error + QLatin1Char(')'));
    m_hostile.insert(path.toUtf8(), *setting);
    return QStringLiteral("ok hostile ") + arguments;
}

QString ReceiverSimulator::runCommand(const QString& line)
{
    const QString trimmed = line.trimmed();
    const QString word = trimmed.section(QLatin1Char(' '), 0, 0);
    const QString rest = trimmed.section(QLatin1Char(' '), 1);
    const QByteArray ping = "/pingServerWithIP";
    if (word == QLatin1String("answer")) {
        // answer PATH STATUS [BODY...]
        const QByteArray path = rest.section(QLatin1Char(' '), 0, 0).toUtf8();
        bool ok = false;
        const int status = rest.section(QLatin1Char(' '), 1, 1).toInt(&ok);
        if (!path.startsWith('/') || !ok)
            return QStringLiteral("error: usage: answer PATH STATUS [BODY]");
        m_answers[path].status = status;
        m_answers[path].body = rest.section(QLatin1Char(' '), 2).toUtf8();
        m_answers[path].silent = false;
    } else if (word == QLatin1String("silent")) {
        if (!rest.startsWith(QLatin1Char('/')))
            return QStringLiteral("error: usage: silent PATH");
        m_answers[rest.toUtf8()].silent = true;
    } else if (word == QLatin1String("delay")) {
        // delay PATH MS: answers to PATH (as set by answer, or the default) go out MS later.
        bool ok = false;
        const int ms = rest.section(QLatin1Char(' '), 1, 1).toInt(&ok);
        if (!rest.startsWith(QLatin1Char('/')) || !ok || ms < 0)
            return QStringLiteral("error: usage: delay PATH MS");
        m_answers[rest.section(QLatin1Char(' '), 0, 0).toUtf8()].delayMs = ms;
    } else if (word == QLatin1String("reset")) {
        m_answers.clear();
        m_hostile.clear();
    } else if (word == QLatin1String("hostile")) {
        return setHostile(rest);
    } else if (word == QLatin1String("cast-off")) {
        m_answers[ping].status = 200;
        m_answers[ping].body = "CAST_OFF";
    } else if (word == QLatin1String("busy")) {
        m_answers[ping].status = 200;
        m_answers[ping].body = "Device is busy";
    } else if (word == QLatin1String("touch")) {
        // touch EVENT X Y [TS]
        const QStringList f = rest.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (f.size() < 3)
            return QStringLiteral("error: usage: touch EVENT X Y [TS]");
        const QString ts
            = f.size() > 3 ? f[3] : QString::number(QDateTime::currentMSecsSinceEpoch());
        return sendTouch(QStringLiteral("%1,%2,%3,%4;").arg(f[0], f[1], f[2], ts).toUtf8());
    } else if (word == QLatin1String("raw")) {
        return sendTouch(rest.toUtf8());
    } else if (word == QLatin1String("script")) {
        return playScript(rest);
    } else if (word == QLatin1String("touch-target")) {
        m_touchTarget = QHostAddress(rest);
        if (m_touchTarget.isNull())
            return QStringLiteral("error: not an address: ") + rest;
    } else if (word == QLatin1String("upload-rate")) {
        bool ok = false;
        m_uploadRate = rest.toLongLong(&ok);
        if (!ok || m_uploadRate < 0)
            return QStringLiteral("error: usage: upload-rate BYTES_PER_SECOND");
    } else if (word == QLatin1String("quit")) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
    } else {
        return QStringLiteral("error: unknown command: ") + trimmed;
    }
    return QStringLiteral("ok ") + trimmed;
}
