// The touch-path benchmark's application (the dashboard paired, touchback on, its real touch
// socket and XTest poster) that can also upload a file over and over while touches arrive.
//   touch-path-upload-app RECEIVER_ADDRESS
// Prints "ready" once the touch socket is bound and the switch has stopped animating. Commands on
// standard input: "upload FILE" starts uploading FILE to the receiver, again each time an upload
// ends, and prints "uploading"; "stop" ends that after the running upload, which prints
// "uploads=N" (the uploads that completed). It ends when standard input closes.
#include "BenchDashboard.h"
#include "dashboard/DashboardViewController.h"
#include "platform/x11/XTestEventPoster.h"
#include "receiver/ReceiverSession.h"
#include "receiver/UploadDataToHost.h"

#include "receiver/ReceiverReply.h"
#include <QApplication>
#include <QFileInfo>

#include <cstdio>

namespace {

// Uploads one file again and again, each through the same request class the dashboard uses.
class UploadLoop : public QObject
{
public:
    explicit UploadLoop(QString receiver)
        : m_receiver(std::move(receiver))
    {
        connect(ReceiverSession::shared(), &ReceiverHttpClient::finished, this,
            [this](ReceiverReply* reply) {
                if (reply->url().port() != 5505)
                    return; // a heartbeat
                ++m_completed;
                if (m_running)
                    startOne();
                else
                    BenchDashboard::printLine("uploads=" + QByteArray::number(m_completed));
            });
    }
    void start(const QString& path)
    {
        m_path = path;
        m_running = true;
        m_completed = 0;
        startOne();
        BenchDashboard::printLine("uploading");
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
    BenchDashboard::pair(dashboard, receiver, QStringLiteral("Bench Room"));
    BenchDashboard::setTouchback(dashboard, true);
    BenchDashboard::announceReadyWhen(&app, [&] {
        return BenchDashboard::touchSocketBound(dashboard)
            && BenchDashboard::switchSettled(dashboard);
    });

    UploadLoop uploads(receiver);
    BenchDashboard::readCommands(&app, [&uploads](const QByteArray& line) {
        if (line.startsWith("upload "))
            uploads.start(QString::fromLocal8Bit(line.mid(7)));
        else if (line == "stop")
            uploads.stop();
    });
    return app.exec();
}
