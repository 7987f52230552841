#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class DashboardViewController;
class QObject;

// What the benchmark applications share: a dashboard paired with a receiver and touchback on,
// one "ready" line once it can take touches, and commands read from standard input.
namespace BenchDashboard {

// Pairs the dashboard with the receiver at address, as a click on its row would.
void pair(DashboardViewController& dashboard, const QString& address, const QString& room);
// Turns the touchback switch on or off, as a click on it would.
void setTouchback(DashboardViewController& dashboard, bool on);

// The touch socket is bound; and, with settled, the switch has stopped animating.
bool touchSocketBound(DashboardViewController& dashboard);
bool switchSettled(DashboardViewController& dashboard);

// Prints one line on standard output at once.
void printLine(const QByteArray& line);
// Prints "ready" the first time ready() holds, checked every 10 ms while context lives.
void announceReadyWhen(QObject* context, std::function<bool()> ready);
// Hands each line read from standard input to handle; the application quits when it closes.
void readCommands(QObject* context, std::function<void(const QByteArray& line)> handle);

} // namespace BenchDashboard
