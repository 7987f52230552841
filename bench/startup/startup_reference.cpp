// The yardstick for the start-up benchmark: the smallest Qt Widgets program that shows a window,
// one label in it, sized to its text as Qt does by default.
#include <QApplication>
#include <QLabel>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QLabel label(QStringLiteral("ORVENTA Companion"));
    label.show();
    return app.exec();
}
