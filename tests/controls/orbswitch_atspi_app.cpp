// A window with one touchback switch, driven from outside through AT-SPI. It prints "ready" once
// the switch is on screen, one line per action the switch sends, and a summary when its standard
// input closes.
#include "controls/OrbSwitch.h"
#include "platform/StdoutLine.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <QVBoxLayout>

#include <unistd.h>

namespace {
class ActionPrinter : public QObject
{
public:
    void toggled(OrbSwitch* sender)
    {
        ++count;
        StdoutLine::print(QStringLiteral("action checked=%1").arg(int(sender->checked())));
    }
    int count = 0;
};
} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("orbswitch-atspi-app"));
    QWidget window;
    window.setWindowTitle(QStringLiteral("Switch"));
    auto* layout = new QVBoxLayout(&window);
    auto* sw = new OrbSwitch;
    sw->setFixedSize(100, 50);
    sw->setAccessibleName(QStringLiteral("Wireless Touchback"));
    layout->addWidget(sw);
    ActionPrinter printer;
    sw->setTargetAction(&printer, &ActionPrinter::toggled);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
            input.setEnabled(false);
            StdoutLine::print(QStringLiteral("final checked=%1 actions=%2")
                                  .arg(int(sw->checked()))
                                  .arg(printer.count));
            app.quit();
        }
    });
    window.show();
    QTimer::singleShot(0, &app, [] { StdoutLine::print("ready"); });
    return app.exec();
}
