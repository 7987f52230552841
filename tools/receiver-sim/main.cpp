// receiver-sim: a stand-in for a presentation receiver on real sockets, for tests, benchmarks
// and trying the application without a box. Run with --help for the commands.
#include "AvahiAnnouncer.h"
#include "ReceiverSimulator.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace {

const char* const kDescription = R"(A receiver stand-in on real sockets.

Serves the control port (5000: /pingServerWithIP, /enableWifiTouchback, /ws) and the upload
port (5505: /uploadfile, a single-part multipart/form-data body that is checked and streamed to
--upload-dir) on ADDRESS (default 127.0.0.1). Every answer defaults to 200 "OK". Each request is
written to --log as one JSON line: method, target (path and query), port, peer, headers in
order, bodyLength, sha256 of the body, answer (null when held), the body when small, and for
uploads the multipart check (ok/error, field, filename, contentType, fileLength, storedAs).
Bodies are read by their Content-Length; what arrives is the true length.

When ready it prints "ready control=ADDR:PORT upload=ADDR:PORT". Commands, one per line on
standard input or in the --commands file (read once at start), each answered on standard output
with "ok ..." or "error: ...":
  answer PATH STATUS [BODY]   answer PATH with STATUS and BODY (e.g. answer /uploadfile 500)
  silent PATH                 hold requests to PATH without any answer (answer ... ends it)
  delay PATH MS               answers to PATH go out MS milliseconds after the request (0: at once)
  cast-off                    heartbeat answers 200 "CAST_OFF"
  busy                        heartbeat answers 200 "Device is busy"
  reset                       every path back to 200 "OK" (hostile replies too)
  hostile PATH MODE [ARG]     answer PATH with a reply no receiver gives, to try a client:
      endless [FILL]            200, body FILL (default "x") repeated until the client closes
      huge-headers [KIB]        200, header block of KIB KiB (default: without end), then "OK"
      slow [BODY]               200, body BODY (default "OK") at one byte per second
      slow-headers              200 whose header block never ends, one short line every 100 ms
      reset-mid-body            200 announcing 1000 body bytes, reset after 100
      garbage-status            a status line that is not HTTP, then close
                              when such a reply ends it prints "PATH MODE: N bytes sent ..."
  touch EVENT X Y [TS]        send "EVENT,X,Y,TS;" (TS defaults to now in ms) to the touch port
                              of the address that last called /enableWifiTouchback
  raw TEXT                    send TEXT as one datagram to the same place
  script FILE                 send each line of FILE as one datagram ("delay MS" pauses,
                              "#" starts a comment); prints "played N datagrams" at the end
  touch-target ADDRESS        send touches to ADDRESS instead
  upload-rate BYTES           test-only: read the bodies of uploads that connect from now on at
                              no more than BYTES a second (0: no limit), so uploads take a while
  quit                        stop)";

void printLine(const QString& line)
{
    std::fputs(qPrintable(line + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("receiver-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("address"),
        QStringLiteral("Address to serve on (default 127.0.0.1)."), QStringLiteral("[ADDRESS]"));
    const QCommandLineOption controlPort(QStringLiteral("control-port"),
        QStringLiteral("Control port (default 5000)."), QStringLiteral("PORT"),
        QStringLiteral("5000"));
    const QCommandLineOption uploadPort(QStringLiteral("upload-port"),
        QStringLiteral("Upload port (default 5505)."), QStringLiteral("PORT"),
        QStringLiteral("5505"));
    const QCommandLineOption touchPort(QStringLiteral("touch-port"),
        QStringLiteral("UDP port touches go to (default 41863)."), QStringLiteral("PORT"),
        QStringLiteral("41863"));
    const QCommandLineOption touchToQuery(QStringLiteral("touch-to-query-ip"),
        QStringLiteral(
            "Send touches to the \"ip\" of the touchback request instead of its sender."));
    const QCommandLineOption uploadDir(QStringLiteral("upload-dir"),
        QStringLiteral("Folder uploaded files are stored in (not stored without it)."),
        QStringLiteral("DIR"));
    const QCommandLineOption logPath(QStringLiteral("log"),
        QStringLiteral("File that gets one JSON line per request."), QStringLiteral("FILE"));
    const QCommandLineOption commands(QStringLiteral("commands"),
        QStringLiteral("File of commands run at start, one per line."), QStringLiteral("FILE"));
    const QCommandLineOption announce(QStringLiteral("announce"),
        QStringLiteral("Announce NAME as _airplay._tcp on port 7000 through avahi-daemon, e.g. "
                       "\"Brevik-X1|Room 12|7f000001\"."),
        QStringLiteral("NAME"));
    parser.addOptions(
        {controlPort, uploadPort, touchPort, touchToQuery, uploadDir, logPath, commands, announce});
    parser.process(app);

    SimulatorOptions options;
    if (!parser.positionalArguments().isEmpty())
        options.address = QHostAddress(parser.positionalArguments().first());
    if (options.address.isNull()) {
        std::fprintf(stderr, "receiver-sim: not an address: %s\n",
            qPrintable(parser.positionalArguments().first()));
        return 2;
    }
    options.controlPort = parser.value(controlPort).toUShort();
    options.uploadPort = parser.value(uploadPort).toUShort();
    options.touchPort = parser.value(touchPort).toUShort();
    options.touchToQueryIp = parser.isSet(touchToQuery);
    options.uploadDir = parser.value(uploadDir);
    options.logPath = parser.value(logPath);

    ReceiverSimulator simulator(options);
    QString error;
    if (!simulator.listen(&error)) {
        std::fprintf(stderr, "receiver-sim: %s\n", qPrintable(error));
        return 1;
    }
    QObject::connect(&simulator, &ReceiverSimulator::output, &app, &printLine);
    std::unique_ptr<AvahiAnnouncer> announcer;
    if (parser.isSet(announce)) {
        announcer = std::make_unique<AvahiAnnouncer>(parser.value(announce).toUtf8(), 7000);
        if (!announcer->start(&error)) {
            std::fprintf(stderr, "receiver-sim: %s\n", qPrintable(error));
            return 1;
        }
    }
    if (parser.isSet(commands)) {
        QFile file(parser.value(commands));
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            std::fprintf(stderr, "receiver-sim: cannot read %s\n", qPrintable(file.fileName()));
            return 1;
        }
        while (!file.atEnd())
            if (const QString line = QString::fromUtf8(file.readLine()).trimmed(); !line.isEmpty())
                printLine(simulator.runCommand(line));
    }

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QByteArray pending;
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            input.setEnabled(false); // end of input: keep serving until killed
            return;
        }
        pending.append(buffer, n);
        for (qsizetype nl; (nl = pending.indexOf('\n')) >= 0; pending.remove(0, nl + 1))
            if (const QString line = QString::fromUtf8(pending.left(nl)).trimmed(); !line.isEmpty())
                printLine(simulator.runCommand(line));
    });

    printLine(QStringLiteral("ready control=%1:%2 upload=%1:%3")
                  .arg(options.address.toString())
                  .arg(options.controlPort)
                  .arg(options.uploadPort));
    return app.exec();
}
