#pragma once

class DeviceTableView;
class QWidget;

// Supplies the rows of a DeviceTableView; views come from DeviceTableView::makeView.
class DeviceTableViewDataSource
{
public:
    virtual ~DeviceTableViewDataSource() = default;
    virtual int numberOfRowsInTableView(DeviceTableView* tableView) = 0;
    virtual QWidget* tableViewViewForRow(DeviceTableView* tableView, int column, int row) = 0;
};
