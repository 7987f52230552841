// Uploads one file with UploadDataToHost, streamed from disk, and exits when the answer is in.
// Prints "upload_ms=T": the time from upload() to the reply's end, so that the process's own
// start-up is no part of it.
//   upload-driver ADDRESS FILE
#include "receiver/ReceiverSession.h"
#include "receiver/UploadDataToHost.h"

#include "receiver/ReceiverReply.h"
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: upload-driver ADDRESS FILE\n");
        return 2;
    }
    const auto data = UploadData::fromFile(QString::fromLocal8Bit(argv[2]));
    if (!data) {
        std::fprintf(stderr, "upload-driver: cannot read %s\n", argv[2]);
        return 1;
    }
    int status = 0;
    // The application's client exists long before any upload (the heartbeat uses it): made
    // here, with libcurl's global start-up, it is no part of the upload's time.
    ReceiverSession::shared();
    QElapsedTimer sinceUpload;
    QObject::connect(
        ReceiverSession::shared(), &ReceiverHttpClient::finished, &app, [&](ReceiverReply* reply) {
            const qint64 ns = sinceUpload.nsecsElapsed();
            status = reply->status().value_or(0);
            std::printf("upload_ms=%.3f\n", double(ns) / 1e6);
            std::fflush(stdout);
            QCoreApplication::quit();
        });
    auto* upload = new UploadDataToHost;
    upload->initWithFileType(QStringLiteral("video/mp4"), data,
        QFileInfo(QString::fromLocal8Bit(argv[2])).fileName(), QString::fromLocal8Bit(argv[1]));
    sinceUpload.start();
    upload->upload();
    delete upload;
    app.exec();
    return status == 200 ? 0 : 1;
}
