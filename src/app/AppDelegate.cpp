#include "AppDelegate.h"

#include <QApplication>

AppDelegate::AppDelegate(QObject* parent)
    : QObject(parent)
{ }

void AppDelegate::attach(QApplication& application)
{
    QApplication::setQuitOnLastWindowClosed(applicationShouldTerminateAfterLastWindowClosed());
    connect(
        &application, &QCoreApplication::aboutToQuit, this, &AppDelegate::applicationWillTerminate);
}

void AppDelegate::applicationDidFinishLaunching()
{ }

void AppDelegate::applicationWillTerminate()
{ }

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() const
{
    // Closing the one window quits the application.
    return true;
}
