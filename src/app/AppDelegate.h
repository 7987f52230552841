#pragma once

#include <QObject>

class QApplication;

// The application delegate: the three hooks of the application's life.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    explicit AppDelegate(QObject* parent = nullptr);

    // Applies the answers of the hooks to the application and calls the termination hook when
    // the application is about to quit.
    void attach(QApplication& application);

    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    bool applicationShouldTerminateAfterLastWindowClosed() const;
};
