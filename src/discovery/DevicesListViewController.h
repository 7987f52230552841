#pragma once

#include <QWidget>

class DevicesListViewControllerDelegate;

// The receiver list screen; discovery runs inside it from its first showing on.
//
// NOTE FOR IMPLEMENTERS: contract the dashboard and the "Main" registry code against;
// extend, keep these signatures.
class DevicesListViewController : public QWidget
{
    Q_OBJECT
public:
    explicit DevicesListViewController(QWidget* parent = nullptr);
    ~DevicesListViewController() override;

    DevicesListViewControllerDelegate* delegate() const;
    void setDelegate(DevicesListViewControllerDelegate* delegate);
};
