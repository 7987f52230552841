#pragma once

#include "app/ZentrixSettingsViewController.h"
#include "controls/DragDropViewDelegate.h"
#include "discovery/DevicesListViewController.h"
#include "discovery/DevicesListViewControllerDelegate.h"

#include <QNetworkDatagram>
#include <QPointer>
#include <QStringList>
#include <QStringView>
#include <QVariant>
#include <QWidget>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

class AssetImageView;
class DragDropView;
class HDMITouchBack;
class LayerView;
class MaskingView;
class MouseSimulate;
class OrbSwitch;
class QHostAddress;
class QLabel;
class ReceiverReply;
class QAbstractButton;
class QPushButton;
class QTimer;
class QToolButton;
class QUdpSocket;
class QUrl;

namespace Ui {
class DashboardViewController;
}

// The main screen and the owner of the session with one receiver: which receiver is paired,
// whether touchback or a cast runs, the heartbeat, the touch socket, the upload permission and
// the file-type lists. The heartbeat, touchback and upload steps live in DashboardHeartbeat.cpp,
// DashboardTouchback.cpp and DashboardUpload.cpp.
class DashboardViewController : public QWidget,
                                public DevicesListViewControllerDelegate,
                                public DragDropViewDelegate
{
    Q_OBJECT

public:
    explicit DashboardViewController(QWidget* parent = nullptr);
    ~DashboardViewController() override;

    // Start-up: session flags, the touchback request object, the first look, the file types.
    void viewDidLoad();
    void setupView();
    void setRepresentedObject(const QVariant& object);
    QVariant representedObject() const { return m_representedObject; }

    // DevicesListViewControllerDelegate
    void didPickCastingDeviceWithIP(
        const QString& ip, const QString& hex, const QString& name) override;
    void deviceDisconnecetd() override;

    void cleanUIAfterCastingOff();

    // Screen actions.
    void connectButtonClicked();
    void devicesListIconClicked();
    void settingsIconClicked();
    void castButtonClicked();
    void showDevicesList();

    // Heartbeat supervision (DashboardHeartbeat.cpp).
    static constexpr std::chrono::milliseconds kPingInterval {4000};
    static std::chrono::milliseconds pingInterval();
    // Test-only: a shorter heartbeat period for timers started afterwards (0 restores 4 s).
    static void setPingIntervalForTesting(std::chrono::milliseconds interval);
    void startServerPing();
    void stopServerPing();
    void inititateServerPing(QTimer* timer);

    // Touchback and cast (DashboardTouchback.cpp).
    static constexpr quint16 kTouchPort = 41863;
    void wirelessTouchSwitchToggled(OrbSwitch* sender);
    void beginScreenCast();
    void stopScreenCast();
    void showScreenCastStoppedMessage();
    void initiateHDMITouchbackEnabled(bool enable, bool isHDMI);
    void initiateTouchBack();
    void finishPosting();
    void closeTouchBack();
    void udpSocketDidReceiveData(QUdpSocket* socket, const QByteArray& data,
        const QHostAddress& fromAddress, quint16 fromPort);

    // File upload (DashboardUpload.cpp); the first four are DragDropViewDelegate.
    void uploadFileURL(const QUrl& fileUrl) override;
    void draggingBegin() override;
    void draggingInprogress() override;
    void draggingFinished() override;
    void uploadFileAction();
    void uploadFileWithURL(const QUrl& fileUrl);
    // Test-only: replaces the open panel; given the starting folder and the allowed types, it
    // returns the chosen path, or nothing when cancelled. An empty function restores the panel.
    using OpenPanel = std::function<std::optional<QString>(
        const QString& directory, const QStringList& allowedTypes)>;
    static void setOpenPanelForTesting(OpenPanel panel);

    // Session state.
    bool isCastingInProgress() const { return m_isCastingInProgress; }
    void setIsCastingInProgress(bool value) { m_isCastingInProgress = value; }
    bool isTouchBackEnabled() const { return m_isTouchBackEnabled; }
    void setIsTouchBackEnabled(bool value) { m_isTouchBackEnabled = value; }
    bool isFileUploadEnabled() const { return m_isFileUploadEnabled; }
    void setIsFileUploadEnabled(bool value) { m_isFileUploadEnabled = value; }
    QUdpSocket* sendUdpSocket() const { return m_sendUdpSocket; }
    void setSendUdpSocket(QUdpSocket* socket) { m_sendUdpSocket = socket; }
    const std::optional<QString>& selectedDeviceIPAddress() const
    {
        return m_selectedDeviceIPAddress;
    }
    const QString& selectedDeviceName() const { return m_selectedDeviceName; }
    const std::optional<QString>& selectedDeviceHex() const { return m_selectedDeviceHex; }
    MouseSimulate* mouseSimulator() const { return m_mouseSimulator.get(); }
    void setMouseSimulator(std::unique_ptr<MouseSimulate> simulator);
    const QStringList& imageFileTypes() const { return m_imageFileTypes; }
    const QStringList& videoFileTypes() const { return m_videoFileTypes; }
    const QStringList& documentsFileTypes() const { return m_documentsFileTypes; }
    std::int32_t serverPingFailedCount() const { return m_serverPingFailedCount; }
    void setServerPingFailedCount(std::int32_t count) { m_serverPingFailedCount = count; }
    QTimer* pingTimer() const { return m_pingTimer; }
    void setPingTimer(QTimer* timer) { m_pingTimer = timer; }
    HDMITouchBack* hdmiTouchback() const { return m_hdmiTouchback.get(); }
    DevicesListViewController* devicesListController() const { return m_devicesListController; }
    ZentrixSettingsViewController* settingsController() const { return m_settingsController; }

    // Outlets (the widgets of the layout).
    LayerView* dashboardParentView() const;
    DragDropView* fileUploadView() const { return m_fileUploadView; }
    LayerView* castButtonView() const;
    QAbstractButton* castButton() const;
    OrbSwitch* wirelessTouchSwitch() const;
    QLabel* wirelessTouchStatusLabel() const;
    LayerView* toolbarView() const;
    QToolButton* devicesListIcon() const;
    QToolButton* settingsIcon() const;
    QPushButton* connectButton() const;
    QLabel* deviceStatusLabel() const;
    QPushButton* fileUploadButton() const;
    AssetImageView* uploadArrowImage() const;
    MaskingView* maskView() const;
    LayerView* hdmiToggleView() const;
    QWidget* emptyStateImageView() const;
    QWidget* hdmiMessageView() const;
    QLabel* facingProblemLabel() const;
    QLabel* enableHDMILabel() const;
    QLabel* deviceHDMIMainLabel() const;
    QLabel* deviceHDMISubLabel() const;
    QLabel* dragAndDropLabel() const;
    QLabel* emptyStateLabel() const;

    // The popover that shows a controller (nullptr before its first opening).
    QWidget* popoverFor(QWidget* controller) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void presentViewControllerAsPopover(QWidget* controller, const QRect& rect, QWidget* view);
    void connectActions();
    void applyTypography();
    static bool acceptsUploads(const QString& deviceName);
    void pingFinished(bool success, const QString& reply);
    void receiveTouchDatagram(QUdpSocket* socket);
    void receiveOnce(QUdpSocket* socket);
    void keepWaitingTouch(const QNetworkDatagram& datagram);
    void clearWaitingTouches();
    qsizetype splitFirstRecord(QByteArrayView bytes, std::array<QStringView, 4>& fields);
    void uploadFile(const QUrl& fileUrl);
    void showUploadProgress(ReceiverReply* reply, const QString& fileName);
    QString uploadFileType(const QString& extension) const;

    std::unique_ptr<Ui::DashboardViewController> ui;

    bool m_isCastingInProgress = false;
    bool m_isTouchBackEnabled = false;
    bool m_isFileUploadEnabled = false;
    QUdpSocket* m_sendUdpSocket = nullptr;
    QByteArray m_touchBuffer; // reused for every touch datagram
    QString m_touchText; // the decoded first record, reused likewise
    QList<QNetworkDatagram> m_waitingTouches; // arrived during a modal session, in order
    qint64 m_waitingBytes = 0; // their payload bytes
    int m_droppedWaitingTouches = 0; // since the list was last empty
    bool m_touchPassQueued = false; // a waiting touch is to be handled next pass
    std::optional<QString> m_selectedDeviceIPAddress;
    QString m_selectedDeviceName;
    std::optional<QString> m_selectedDeviceHex;
    std::unique_ptr<MouseSimulate> m_mouseSimulator;
    QStringList m_imageFileTypes;
    QStringList m_videoFileTypes;
    QStringList m_documentsFileTypes;
    std::int32_t m_serverPingFailedCount = 0;
    QTimer* m_pingTimer = nullptr;
    std::unique_ptr<HDMITouchBack> m_hdmiTouchback;
    QPointer<DevicesListViewController> m_devicesListController;
    QPointer<ZentrixSettingsViewController> m_settingsController;
    DragDropView* m_fileUploadView = nullptr;
    QVariant m_representedObject;
};
