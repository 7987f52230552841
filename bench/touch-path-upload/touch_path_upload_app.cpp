// The touch-path benchmark's application (the dashboard paired, touchback on, its real touch
// socket and XTest poster) that can also upload a file over and over while touches arrive.
//   touch-path-upload-app RECEIVER_ADDRESS
// Prints "ready" once the touch socket is bound and the switch has stopped animating. Commands on
// standard input: "upload FILE" starts uploading FILE to the receiver, again each time an upload
// ends, and prints "uploading"; "stop" ends that after the running upload, which prints
// "uploads=N" (the uploads that completed). It ends when standard input closes.
#include "controls/OrbSwitch.h"
#include "dashboard/DashboardViewController.h"
#include "platform/x11/XTestEventPoster.h"
#include "receiver/ReceiverSession.h"
#include "receiver/UploadDataToHost.h"

#include <QApplication>
#include <QFileInfo>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSocketNotifier>
#include <QTimer>
#include <QUdpSocket>
#include <QVariantAnimation>

#include <cstdio>
#include <unistd.h>

namespace {

void printLine(const char* line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

// Uploads one file again and again, each through the same request class the dashboard uses.
class UploadLoop : public QObject
{
public:
    explicit UploadLoop(QString receiver)
        : m_receiver(std::move(receiver))
    {
        connect(ReceiverSession::shared(), &QNetworkAccessManager::finished, this,
            [this](QNetworkReply* reply) {
                if (reply->url().port() != 5505)
                    return; // a heartbeat
                ++m_completed;
                if (m_running)
                    startOne();
                else
                    printLine(QByteArray("uploads=" + QByteArray::number(m_completed)).constData());
            });
    }
    void start(const QString& path)
    {
        m_path = path;
        m_running = true;
        m_completed = 0;
        startOne();
        printLine("uploading");
    }
    void stop() { m_running = false; }

private:
    void startOne()
    {
        UploadDataToHost upload;
        upload.initWithFileType(QStringLiteral("video/mp4"), UploadData::fromFile(m_path),
            QFileInfo(m_path).fileName(), m_receiver);
        upload.upload();
    }

    QString m_receiver;
    QString m_path;
    bool m_running = false;
    int m_completed = 0;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: touch-path-upload-app RECEIVER_ADDRESS\n");
        return 2;
    }
    installXTestEventPoster();
    DashboardViewController dashboard;
    // The benchmark's touches land outside this rectangle (see run.sh).
    dashboard.setGeometry(0, 0, 900, 600);
    dashboard.show();
    const QString receiver = QString::fromLocal8Bit(argv[1]);
    const quint32 ip = QHostAddress(receiver).toIPv4Address();
    dashboard.didPickCastingDeviceWithIP(
        receiver, QString::number(ip, 16).rightJustified(8, u'0'), QStringLiteral("Bench Room"));
    dashboard.wirelessTouchSwitch()->setChecked(true);
    dashboard.wirelessTouchSwitchToggled(dashboard.wirelessTouchSwitch());

    QTimer readiness;
    QObject::connect(&readiness, &QTimer::timeout, &app, [&] {
        QUdpSocket* socket = dashboard.sendUdpSocket();
        const bool settled = dashboard.wirelessTouchSwitch()->layerAnimation()->state()
            == QAbstractAnimation::Stopped;
        if (socket && socket->state() == QAbstractSocket::BoundState && settled) {
            readiness.stop();
            printLine("ready");
        }
    });
    readiness.start(10);

    UploadLoop uploads(receiver);
    QByteArray pending;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype nl; (nl = pending.indexOf('\n')) >= 0; pending.remove(0, nl + 1)) {
            const QByteArray line = pending.left(nl).trimmed();
            if (line.startsWith("upload "))
                uploads.start(QString::fromLocal8Bit(line.mid(7)));
            else if (line == "stop")
                uploads.stop();
        }
    });
    return app.exec();
}
