// The touchback session: the switch, the cast button, and the touch socket on port 41863 whose
// datagrams become mouse events.
#include "DashboardViewController.h"

#include "ui_DashboardViewController.h"

#include "controls/DragDropView.h"
#include "controls/LayerView.h"
#include "controls/OrbSwitch.h"
#include "input/MouseSimulate.h"
#include "platform/Alerts.h"
#include "platform/Logging.h"
#include "platform/ModalState.h"
#include "platform/MouseEventPoster.h"
#include "receiver/HDMITouchBack.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QPointer>
#include <QStringDecoder>
#include <QUdpSocket>

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {
// Touches waiting for a modal session to end: bounded by count and by bytes.
constexpr qsizetype kMaxWaitingTouches = 2048;
constexpr qint64 kMaxWaitingBytes = 512 * 1024;
constexpr qint64 kMaxDatagramSize = 65536;

// Qt turns SO_BROADCAST on for every UDP socket it creates; this makes sure of it. The native
// socket exists only once bound, so this follows the bind.
bool enableBroadcast(QUdpSocket* socket, QString* error)
{
    int on = 1;
    if (::setsockopt(int(socket->socketDescriptor()), SOL_SOCKET, SO_BROADCAST, &on, sizeof on)
        == 0)
        return true;
    *error = QString::fromLocal8Bit(strerror(errno));
    return false;
}
} // namespace

void DashboardViewController::wirelessTouchSwitchToggled(OrbSwitch* sender)
{
    if (sender->checked()) {
        initiateHDMITouchbackEnabled(true, true);
        startServerPing();
        m_fileUploadView->hide();
        ui->castButtonView->hide();
        ui->emptyStateImageView->hide();
        ui->hdmiMessageView->show();
        return;
    }
    // The socket stays open: touches keep arriving until something closes or replaces it.
    initiateHDMITouchbackEnabled(false, true);
    stopServerPing();
    m_isFileUploadEnabled = acceptsUploads(m_selectedDeviceName);
    m_fileUploadView->show();
    ui->castButtonView->show();
    ui->emptyStateImageView->hide();
    ui->hdmiMessageView->hide();
}

void DashboardViewController::beginScreenCast()
{
    if (!m_isCastingInProgress && m_selectedDeviceIPAddress) {
        Alerts::run(QStringLiteral("Touchback is enabled now."),
            QStringLiteral("To mirror the screen, please go to the AirPlay option on the "
                           "top menu bar and select the required AirPlay display device."
                           "\n\nNOTE: Make sure the screen calibration is done and your "
                           "mac and device are on the same network."));
        m_isCastingInProgress = true;
        initiateHDMITouchbackEnabled(true, false);
        startServerPing();
        ui->hdmiToggleView->hide();
        ui->castButtonView->setLayerContents(QStringLiteral("castingActive"));
        return;
    }
    // A cast is running, or nothing is paired (the button is hidden then): the stop path.
    ui->hdmiToggleView->show();
    initiateHDMITouchbackEnabled(false, false);
    stopScreenCast();
    showScreenCastStoppedMessage();
}

void DashboardViewController::stopScreenCast()
{
    stopServerPing();
    if (m_sendUdpSocket) {
        m_sendUdpSocket->close();
        finishPosting();
    }
    m_isCastingInProgress = false;
    ui->castButtonView->setLayerContents(QStringLiteral("castingInactive"));
}

void DashboardViewController::showScreenCastStoppedMessage()
{
    Alerts::run(QStringLiteral("Touchback is disabled now."),
        QStringLiteral("If screen mirroring is ON and you don't need it anymore, please go "
                       "to the AirPlay option on the top menu bar and select 'Stop "
                       "AirPlay'."));
}

void DashboardViewController::initiateHDMITouchbackEnabled(bool enable, bool isHDMI)
{
    qCInfo(lcDashboard) << "initiateHDMITouchbackEnabled" << enable << isHDMI;
    if (enable)
        initiateTouchBack();
    // Sent whatever the socket did, and also with no receiver recorded.
    m_hdmiTouchback->enableHDMITouchback(enable, isHDMI, m_selectedDeviceIPAddress);
}

void DashboardViewController::initiateTouchBack()
{
    if (!ui->wirelessTouchSwitch->checked() && !m_isCastingInProgress)
        return;
    // A new socket every time. The previous one must give the port up before the new one binds;
    // a deleteLater() alone would keep it bound until the next event loop pass.
    if (QUdpSocket* previous = std::exchange(m_sendUdpSocket, nullptr)) {
        previous->disconnect(this);
        previous->close();
        previous->deleteLater();
        finishPosting(); // the desktop session is made anew below
    }
    clearWaitingTouches();
    auto* socket = new QUdpSocket(this);
    m_sendUdpSocket = socket;
    if (socket->peerPort() != kTouchPort
        && !socket->bind(QHostAddress::AnyIPv4, kTouchPort, QAbstractSocket::DontShareAddress)) {
        qCWarning(lcDashboard).noquote() << "Error binding to port:" << socket->errorString();
        return;
    }
    QString error;
    if (!enableBroadcast(socket, &error)) {
        qCWarning(lcDashboard).noquote() << "Error enabling broadcasting:" << error;
        return;
    }
    if (socket->state() != QAbstractSocket::BoundState) {
        qCWarning(lcDashboard).noquote() << "Error receiving:" << socket->errorString();
        return;
    }
    connect(socket, &QUdpSocket::readyRead, this, [this, socket] { receiveTouchDatagram(socket); });
    connect(ModalState::instance(), &ModalState::ended, socket,
        [this, socket] { receiveOnce(socket); });
    qCInfo(lcDashboard) << "Socket Ready";
    m_isTouchBackEnabled = true;
    // The desktop session for posting (and any permission it needs) is asked for now, so that
    // the first touches do not wait for it. The synthesiser itself comes with the first touch.
    if (m_mouseSimulator)
        m_mouseSimulator->prepare();
    else
        MouseEventPoster::defaultPoster()->prepare();
}

// The touch socket closed: the poster's desktop session (and GNOME's screen-sharing indicator)
// ends with it. Turning the switch off leaves the socket, and the session, open.
void DashboardViewController::finishPosting()
{
    if (m_mouseSimulator)
        m_mouseSimulator->finish();
    else
        MouseEventPoster::defaultPoster()->finish();
}

void DashboardViewController::closeTouchBack()
{
    if (!m_sendUdpSocket)
        return;
    if (m_sendUdpSocket->state() != QAbstractSocket::UnconnectedState) {
        m_sendUdpSocket->close();
        stopScreenCast();
        showScreenCastStoppedMessage();
    }
}

// One datagram per readyRead: Qt signals again on the next pass of the event loop while more
// are pending, so each touch is handled completely before the next one is taken. While a modal
// session runs (the main thread would be blocked in it) touches are kept, in order, until it ends.
void DashboardViewController::receiveTouchDatagram(QUdpSocket* socket)
{
    if (socket != m_sendUdpSocket)
        return;
    if (ModalState::isActive() || !m_waitingTouches.isEmpty()) {
        const QNetworkDatagram datagram = socket->receiveDatagram();
        if (!datagram.isValid())
            return;
        keepWaitingTouch(datagram);
        receiveOnce(socket);
        return;
    }
    // The common case reads into one reused buffer, without the sender, which nothing looks at:
    // no allocation per touch.
    if (m_touchBuffer.size() != kMaxDatagramSize)
        m_touchBuffer.resize(kMaxDatagramSize);
    const qint64 size = socket->readDatagram(m_touchBuffer.data(), kMaxDatagramSize);
    if (size < 0)
        return;
    udpSocketDidReceiveData(
        socket, QByteArray::fromRawData(m_touchBuffer.constData(), size), QHostAddress(), 0);
}

// Keeps a touch that arrived during a modal session, while the waiting list has room; the first
// drop is logged at once, the number dropped when the list has drained.
void DashboardViewController::keepWaitingTouch(const QNetworkDatagram& datagram)
{
    const qint64 size = datagram.data().size();
    if (m_waitingTouches.size() < kMaxWaitingTouches && m_waitingBytes + size <= kMaxWaitingBytes) {
        m_waitingTouches.append(datagram);
        m_waitingBytes += size;
        return;
    }
    if (m_droppedWaitingTouches++ == 0)
        qCWarning(lcDashboard,
            "Dropping touch datagrams: %lld wait for a modal session (%lld "
            "bytes), the most that are kept",
            qlonglong(m_waitingTouches.size()), qlonglong(m_waitingBytes));
}

void DashboardViewController::clearWaitingTouches()
{
    m_waitingTouches.clear();
    m_waitingBytes = 0;
    if (m_droppedWaitingTouches > 0)
        qCWarning(lcDashboard,
            "Dropped %d touch datagrams that came while the waiting list was full",
            m_droppedWaitingTouches);
    m_droppedWaitingTouches = 0;
}

// Re-arms the socket after a touch: a touch that had to wait is handled on a later pass.
void DashboardViewController::receiveOnce(QUdpSocket* socket)
{
    if (m_waitingTouches.isEmpty() || m_touchPassQueued || ModalState::isActive())
        return;
    m_touchPassQueued = true;
    QMetaObject::invokeMethod(
        this,
        [this, guarded = QPointer<QUdpSocket>(socket)] {
            m_touchPassQueued = false;
            if (!guarded || guarded != m_sendUdpSocket
                || guarded->state() != QAbstractSocket::BoundState) {
                clearWaitingTouches();
                return;
            }
            if (ModalState::isActive() || m_waitingTouches.isEmpty())
                return;
            const QNetworkDatagram datagram = m_waitingTouches.takeFirst();
            m_waitingBytes -= datagram.data().size();
            if (m_waitingTouches.isEmpty())
                clearWaitingTouches(); // reports what was dropped
            udpSocketDidReceiveData(
                guarded, datagram.data(), datagram.senderAddress(), quint16(datagram.senderPort()));
        },
        Qt::QueuedConnection);
}

void DashboardViewController::udpSocketDidReceiveData(
    QUdpSocket* socket, const QByteArray& data, const QHostAddress& fromAddress, quint16 fromPort)
{
    Q_UNUSED(fromAddress)
    Q_UNUSED(fromPort)
    // Any sender is obeyed. Only the first ";" record is used, split on ",".
    const QByteArrayView bytes(data);
    const bool utf8 = bytes.isValidUtf8();
    std::array<QStringView, 4> fields;
    const qsizetype count = utf8 ? splitFirstRecord(bytes, fields) : 0;
    if (!utf8 || count < qsizetype(fields.size())) {
        qCWarning(lcDashboard).noquote()
            << "Dropped a touch datagram"
            << (utf8 ? "with fewer than four fields:" : "that is not UTF-8 text:")
            << data.left(64).toHex(' ');
        receiveOnce(socket);
        return;
    }
    if (!m_mouseSimulator)
        m_mouseSimulator = std::make_unique<MouseSimulate>();
    m_mouseSimulator->initiateMouseEvent(fields[0], fields[1], fields[2], fields[3]);
    receiveOnce(socket);
}

// Decodes the first record into the reused text buffer (no allocation per touch) and fills
// fields with up to four of its ","-separated pieces; returns how many there are.
qsizetype DashboardViewController::splitFirstRecord(
    QByteArrayView bytes, std::array<QStringView, 4>& fields)
{
    static QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const qsizetype separator = bytes.indexOf(';');
    const QByteArrayView recordBytes = separator < 0 ? bytes : bytes.first(separator);
    if (m_touchText.size() < recordBytes.size())
        m_touchText.resize(recordBytes.size()); // UTF-16 needs no more units than UTF-8 bytes
    const QChar* begin = m_touchText.constData();
    const QChar* end = utf8.appendToBuffer(m_touchText.data(), recordBytes);
    const QStringView record(begin, end - begin);
    qsizetype count = 0;
    for (qsizetype start = 0; count < qsizetype(fields.size()); ++count) {
        const qsizetype comma = record.indexOf(u',', start);
        fields[count] = comma < 0 ? record.sliced(start) : record.sliced(start, comma - start);
        if (comma < 0)
            return count + 1;
        start = comma + 1;
    }
    return count;
}
