#pragma once

#include "DeviceTableViewDataSource.h"
#include "platform/NetService.h"
#include "platform/ServiceBrowserDelegate.h"

#include <QPointer>
#include <QStringList>
#include <QWidget>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class DeviceTableView;
class DevicesListViewControllerDelegate;
class LayerView;
class QLabel;
class QPushButton;
class ServiceBrowser;
namespace Ui {
class DevicesListViewController;
}

// The receiver list screen; discovery runs inside it from its first showing on.
//
// Receivers announce "_airplay._tcp" services named "<model>|<display name>|<address code>";
// the ones of our make are kept as three parallel lists (address, display name, address code)
// from which the rows are drawn. Picking a row pairs with that receiver; the disconnect button
// unpairs. Both are reported to the delegate, the dashboard.
class DevicesListViewController : public QWidget,
                                  public ServiceBrowserDelegate,
                                  public DeviceTableViewDataSource
{
    Q_OBJECT
public:
    using BrowserFactory = std::function<std::unique_ptr<ServiceBrowser>()>;

    static inline const QString kServiceType = QStringLiteral("_airplay._tcp");
    static inline const QString kServiceDomain = QStringLiteral("local.");
    static inline const QString kCellIdentifier = QStringLiteral("deviceCellID");
    static constexpr std::chrono::milliseconds kResolveTimeout {20000};
    static constexpr qreal kRowHeight = 60.0;
    static constexpr int kDisconnectButtonShownHeight = 48;

    explicit DevicesListViewController(QWidget* parent = nullptr);
    ~DevicesListViewController() override;

    // Where the browser comes from; set before a controller's view loads.
    static void setBrowserFactory(BrowserFactory factory);

    DevicesListViewControllerDelegate* delegate() const;
    void setDelegate(DevicesListViewControllerDelegate* delegate);

    // The first showing loads the view; tests may load it explicitly.
    void loadViewIfNeeded();
    bool isViewLoaded() const { return m_viewLoaded; }

    // Discovery state.
    const QList<NetService>& services() const { return m_services; }
    const QStringList& zentrixDeviceIPs() const { return m_zentrixDeviceIPs; }
    const QStringList& zentrixDeviceNames() const { return m_zentrixDeviceNames; }
    const QStringList& zentrixDeviceHex() const { return m_zentrixDeviceHex; }
    ServiceBrowser* browser() const { return m_browser.get(); }
    const std::optional<NetService>& netService() const { return m_netService; }

    // Selection state.
    qint64 selectedRow() const { return m_selectedRow; }
    qint64 selectedColumn() const { return m_selectedColumn; }
    const std::optional<QString>& selectedZentrixDeviceIP() const
    {
        return m_selectedZentrixDeviceIP;
    }

    // Outlets.
    DeviceTableView* devicesTableView() const;
    LayerView* listHeaderView() const;
    QLabel* headerMainLabel() const;
    QLabel* headerSubLabel() const;
    QPushButton* disconnectButton() const;
    // The button's height "constraint": 0 hides it, 48 shows it.
    int disconnectButtonHeight() const { return m_disconnectButtonHeight; }

    // Address text from an address code: four two-character pieces, then dotted decimal.
    QStringList hexArrayFromString(const QString& code) const;
    QString formattedStringFromAddressComponents(const QStringList& components) const;

    void handleError(int errorCode, const NetService& service) const;
    bool addressesComplete(const QList<QString>& addresses, const QString& serviceType) const;

    // ServiceBrowserDelegate
    void serviceBrowserDidFindService(
        ServiceBrowser* browser, const NetService& service, bool moreComing) override;
    void serviceBrowserDidRemoveService(
        ServiceBrowser* browser, const NetService& service, bool moreComing) override;
    void serviceDidResolveAddress(const NetService& service) override;

    // DeviceTableViewDataSource
    int numberOfRowsInTableView(DeviceTableView* tableView) override;
    QWidget* tableViewViewForRow(DeviceTableView* tableView, int column, int row) override;

public Q_SLOTS:
    void deviceClicked();
    void disconnectDevice();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void viewDidLoad();
    void setupUI();
    void startDiscovery();
    void setDisconnectButtonHeight(int height);
    void setRowImage(int column, qint64 row, const QString& assetName);

    std::unique_ptr<Ui::DevicesListViewController> m_ui;
    QPointer<QObject> m_delegateObject;
    DevicesListViewControllerDelegate* m_delegate = nullptr;
    bool m_delegateIsObject = false;
    bool m_viewLoaded = false;

    QList<NetService> m_services;
    QStringList m_zentrixDeviceIPs;
    QStringList m_zentrixDeviceNames;
    QStringList m_zentrixDeviceHex;
    std::unique_ptr<ServiceBrowser> m_browser;
    std::optional<NetService> m_netService;

    qint64 m_selectedRow = -1;
    qint64 m_selectedColumn = -1;
    std::optional<QString> m_selectedZentrixDeviceIP;
    int m_disconnectButtonHeight = 0;
};
