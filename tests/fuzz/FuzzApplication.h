#pragma once

// Shared start-up of the fuzz targets: one offscreen application for the whole run, log
// output silenced (every input would otherwise print its lines and slow the run tenfold).
#include <QApplication>
#include <QtGlobal>

namespace fuzz {

inline void quietMessages(QtMsgType, const QMessageLogContext&, const QString&)
{ }

// Never destroyed: at exit, Qt's own globals may already be gone when an application object
// would be torn down. It stays reachable, so the leak checker does not count it.
inline QApplication& application()
{
    static QApplication* app = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int argc = 1;
        static char name[] = "fuzz";
        static char* argv[] = {name, nullptr};
        qInstallMessageHandler(quietMessages);
        return new QApplication(argc, argv);
    }();
    return *app;
}

} // namespace fuzz
