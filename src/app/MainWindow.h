#pragma once

#include <QMainWindow>

// The application's one window. Its content is one controller at a time: the splash screen
// first, then the dashboard.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    static constexpr QSize kDefaultSize {900, 600};

    explicit MainWindow(QWidget* parent = nullptr);

    QWidget* contentViewController() const { return centralWidget(); }
    // Shows controller in place of the current content; the old content is deleted.
    void setContentViewController(QWidget* controller);

signals:
    void contentViewControllerChanged(QWidget* controller);
};
