#include "DevicesListViewController.h"

#include "ui_DevicesListViewController.h"

#include "DeviceTableCellView.h"
#include "DeviceTableView.h"
#include "DevicesListViewControllerDelegate.h"
#include "HexValue.h"
#include "controls/LayerView.h"
#include "platform/Fonts.h"
#include "platform/Logging.h"
#include "platform/ServiceBrowser.h"

#include <QPushButton>

#include <stdexcept>

namespace {

DevicesListViewController::BrowserFactory& browserFactory()
{
    static DevicesListViewController::BrowserFactory factory;
    return factory;
}

// List access that raises a range error instead of reading past the end.
const QString& pieceAt(const QStringList& pieces, qsizetype index)
{
    if (index < 0 || index >= pieces.size())
        throw std::out_of_range("index " + std::to_string(index) + " beyond bounds of "
            + std::to_string(pieces.size()) + " pieces");
    return pieces.at(index);
}

QString substringWithRange(const QString& text, qsizetype location, qsizetype length)
{
    if (location < 0 || location + length > text.size())
        throw std::out_of_range("range {" + std::to_string(location) + ", " + std::to_string(length)
            + "} out of bounds; length " + std::to_string(text.size()));
    return text.mid(location, length);
}

} // namespace

DevicesListViewController::DevicesListViewController(QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::DevicesListViewController>())
{
    m_ui->setupUi(this);
    connect(m_ui->disconnectButton, &QPushButton::clicked, this,
        &DevicesListViewController::disconnectDevice);
}

DevicesListViewController::~DevicesListViewController()
{
    // Discovery is not stopped on purpose; the browser simply goes with its owner.
    if (m_browser)
        m_browser->setDelegate(nullptr);
}

void DevicesListViewController::setBrowserFactory(BrowserFactory factory)
{
    browserFactory() = std::move(factory);
}

DevicesListViewControllerDelegate* DevicesListViewController::delegate() const
{
    // Held weakly: a delegate that is a QObject is forgotten when it goes away.
    if (m_delegateIsObject && !m_delegateObject)
        return nullptr;
    return m_delegate;
}

void DevicesListViewController::setDelegate(DevicesListViewControllerDelegate* delegate)
{
    m_delegate = delegate;
    m_delegateObject = dynamic_cast<QObject*>(delegate);
    m_delegateIsObject = m_delegateObject != nullptr;
}

void DevicesListViewController::loadViewIfNeeded()
{
    if (m_viewLoaded)
        return;
    m_viewLoaded = true;
    viewDidLoad();
}

void DevicesListViewController::showEvent(QShowEvent* event)
{
    loadViewIfNeeded();
    QWidget::showEvent(event);
}

void DevicesListViewController::viewDidLoad()
{
    setWindowTitle(QStringLiteral("Homepage"));
    m_selectedColumn = -1;
    m_selectedRow = -1;

    DeviceTableView* table = m_ui->devicesTableView;
    table->setDataSource(this);
    table->setAction([this] { deviceClicked(); });
    table->setRowHeight(kRowHeight);
    table->registerViewFactory(kCellIdentifier, [] { return new DeviceTableCellView; });
    table->reloadData();
    table->setSelectionHighlightStyle(DeviceTableView::SelectionHighlightNone);

    setupUI();
    startDiscovery();
}

void DevicesListViewController::setupUI()
{
    m_ui->listHeaderView->setLayerBackgroundColor(Qt::white);

    QPushButton* button = m_ui->disconnectButton;
    const QColor background
        = QColor::fromRgbF(0.8f, 0.45098039507865906f, 0.3019607961177826f, 1.0f);
    QPalette palette = button->palette();
    palette.setColor(QPalette::Button, background);
    palette.setColor(QPalette::Window, background);
    button->setPalette(palette);
    button->setAutoFillBackground(true);
    button->setFlat(true);
    button->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 16));
    setDisconnectButtonHeight(0);

    m_ui->headerMainLabel->setFont(Fonts::named(QStringLiteral("Poppins-ExtraLight"), 20));
    m_ui->headerSubLabel->setFont(Fonts::named(QStringLiteral("Poppins-Regular"), 12));
}

void DevicesListViewController::startDiscovery()
{
    m_zentrixDeviceNames = {};
    m_zentrixDeviceIPs = {};
    m_zentrixDeviceHex = {};

    const BrowserFactory& factory = browserFactory();
    if (!factory) {
        qCWarning(lcDiscovery) << "No service browser installed; receivers will not be discovered";
        return;
    }
    m_browser = factory();
    m_browser->setDelegate(this);
    m_browser->searchForServices(kServiceType, kServiceDomain);
}

QStringList DevicesListViewController::hexArrayFromString(const QString& code) const
{
    QStringList pieces;
    for (qsizetype location : {0, 2, 4, 6})
        pieces.append(substringWithRange(code, location, 2));
    return pieces;
}

QString DevicesListViewController::formattedStringFromAddressComponents(
    const QStringList& components) const
{
    QString text;
    for (qsizetype i = 0; i < components.size(); ++i) {
        text += QString::number(static_cast<int>(hexValue(components.at(i))));
        if (i + 1 < components.size())
            text += QLatin1Char('.');
    }
    return text;
}

void DevicesListViewController::handleError(int errorCode, const NetService& service) const
{
    qCWarning(lcDiscovery).noquote()
        << QStringLiteral("An error occurred with service %1.%2.%3, error code = %4")
               .arg(service.name, service.type, service.domain, QString::number(errorCode));
}

bool DevicesListViewController::addressesComplete(const QList<QString>&, const QString&) const
{
    return true;
}

void DevicesListViewController::serviceBrowserDidFindService(
    ServiceBrowser* browser, const NetService& service, bool)
{
    m_services.append(service);
    browser->resolve(service, kResolveTimeout);
}

void DevicesListViewController::serviceDidResolveAddress(const NetService& service)
{
    qCInfo(lcDiscovery).noquote()
        << QStringLiteral("Resolved address for service %1").arg(service.name);
    const QStringList pieces = service.name.split(QLatin1Char('|'));
    if (pieces.size() < 2)
        return;
    const QString& model = pieces.at(0);
    if (!model.contains(QLatin1String("Brevik"), Qt::CaseInsensitive)
        && !model.contains(QLatin1String("Orventa"), Qt::CaseInsensitive))
        return;

    const QString& code = pieceAt(pieces, 2);
    const QString address = formattedStringFromAddressComponents(hexArrayFromString(code));
    const QString& name = pieces.at(1);
    if (!m_zentrixDeviceIPs.contains(address) && !m_zentrixDeviceHex.contains(code)) {
        m_zentrixDeviceNames.append(name);
        m_zentrixDeviceHex.append(code);
        m_zentrixDeviceIPs.append(address);
        m_ui->devicesTableView->reloadData();
    }
    qCInfo(lcDiscovery).noquote()
        << QStringLiteral("Resolved address for service %1 : %2").arg(name, code);
}

void DevicesListViewController::serviceBrowserDidRemoveService(
    ServiceBrowser*, const NetService& service, bool)
{
    m_services.removeAll(service);
    const QStringList pieces = service.name.split(QLatin1Char('|'));
    if (pieces.size() < 2)
        return;
    // Only this exact spelling is dropped again; other makes stay listed once admitted.
    if (!pieces.at(0).contains(QLatin1String("Brevik"), Qt::CaseSensitive))
        return;

    const QString& code = pieceAt(pieces, 2);
    const QString address = formattedStringFromAddressComponents(hexArrayFromString(code));
    if (m_zentrixDeviceIPs.contains(address) && m_zentrixDeviceHex.contains(code)) {
        m_zentrixDeviceNames.removeAll(pieces.at(1));
        m_zentrixDeviceIPs.removeAll(address);
        m_zentrixDeviceHex.removeAll(code);
        m_ui->devicesTableView->reloadData();
    }
}

int DevicesListViewController::numberOfRowsInTableView(DeviceTableView*)
{
    return static_cast<int>(m_zentrixDeviceIPs.size());
}

QWidget* DevicesListViewController::tableViewViewForRow(DeviceTableView* tableView, int, int row)
{
    auto* cell = static_cast<DeviceTableCellView*>(tableView->makeView(kCellIdentifier));
    if (!cell)
        return nullptr;
    // The lists can fall out of step after removals; a missing entry leaves the label as is.
    if (row < m_zentrixDeviceNames.size()) {
        cell->deviceNameLabel()->setText(m_zentrixDeviceNames.at(row));
        cell->setAccessibleName(m_zentrixDeviceNames.at(row));
    }
    // The second line shows the address code itself.
    if (row < m_zentrixDeviceHex.size())
        cell->deviceIPLabel()->setText(m_zentrixDeviceHex.at(row));
    return cell;
}

void DevicesListViewController::deviceClicked()
{
    DeviceTableView* table = m_ui->devicesTableView;
    if (m_selectedRow == table->clickedRow())
        return;
    if (m_selectedRow != -1)
        setRowImage(0, m_selectedRow, QStringLiteral("radioIcon"));
    m_selectedRow = table->clickedRow();
    m_selectedColumn = table->clickedColumn();

    m_selectedZentrixDeviceIP = pieceAt(m_zentrixDeviceIPs, m_selectedRow);
    qCInfo(lcDiscovery).noquote() << *m_selectedZentrixDeviceIP;
    setRowImage(
        static_cast<int>(m_selectedColumn), m_selectedRow, QStringLiteral("connectedChain"));
    if (DevicesListViewControllerDelegate* target = delegate()) {
        target->didPickCastingDeviceWithIP(*m_selectedZentrixDeviceIP,
            pieceAt(m_zentrixDeviceHex, m_selectedRow),
            pieceAt(m_zentrixDeviceNames, m_selectedRow));
    }
    setDisconnectButtonHeight(kDisconnectButtonShownHeight);
}

void DevicesListViewController::disconnectDevice()
{
    m_selectedZentrixDeviceIP.reset();
    setDisconnectButtonHeight(0);
    setRowImage(0, m_selectedRow, QStringLiteral("radioIcon"));
    m_selectedColumn = -1;
    m_selectedRow = -1;
    if (DevicesListViewControllerDelegate* target = delegate())
        target->deviceDisconnecetd();
}

void DevicesListViewController::setDisconnectButtonHeight(int height)
{
    m_disconnectButtonHeight = height;
    QPushButton* button = m_ui->disconnectButton;
    button->setFixedHeight(height);
    // A button of height 0 is hidden: the keyboard must not reach it either.
    const bool shown = height > 0;
    if (!shown && button->hasFocus())
        button->clearFocus();
    button->setFocusPolicy(shown ? Qt::StrongFocus : Qt::NoFocus);
    button->setEnabled(shown);
}

void DevicesListViewController::setRowImage(int column, qint64 row, const QString& assetName)
{
    // Only a row in sight has a view; otherwise there is nothing to update.
    auto* cell = qobject_cast<DeviceTableCellView*>(
        m_ui->devicesTableView->viewAt(column, static_cast<int>(row)));
    if (cell)
        cell->setImage(assetName);
}

DeviceTableView* DevicesListViewController::devicesTableView() const
{
    return m_ui->devicesTableView;
}

LayerView* DevicesListViewController::listHeaderView() const
{
    return m_ui->listHeaderView;
}

QLabel* DevicesListViewController::headerMainLabel() const
{
    return m_ui->headerMainLabel;
}

QLabel* DevicesListViewController::headerSubLabel() const
{
    return m_ui->headerSubLabel;
}

QPushButton* DevicesListViewController::disconnectButton() const
{
    return m_ui->disconnectButton;
}
