#pragma once

#include <QWidget>

#include <memory>

class LayerView;
class QComboBox;

namespace Ui {
class ZentrixSettingsViewController;
}

// The streaming settings: a frame rate and a session resolution. The choices are kept while the
// application runs (the dashboard keeps this controller) and are read by nothing.
class ZentrixSettingsViewController : public QWidget
{
    Q_OBJECT

public:
    explicit ZentrixSettingsViewController(QWidget* parent = nullptr);
    ~ZentrixSettingsViewController() override;

    void viewDidLoad();
    void initUI();

    QComboBox* sessionPresentButton() const;
    QComboBox* fpsButton() const;
    LayerView* settingsView() const;

private:
    std::unique_ptr<Ui::ZentrixSettingsViewController> ui;
};
