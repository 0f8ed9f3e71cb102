#include "serial/tserialport.h"

#include <QCoreApplication>
#include <QFile>
#include <QSerialPort>
#include <qplatformdefs.h>

namespace {

QSerialPort::Parity toQt(TSerialPort::Parity parity)
{
    switch (parity) {
    case TSerialPort::ParityOdd:
        return QSerialPort::OddParity;
    case TSerialPort::ParityEven:
        return QSerialPort::EvenParity;
    case TSerialPort::ParityNone:
        break;
    }
    return QSerialPort::NoParity;
}

TSerialPort::Parity fromQt(QSerialPort::Parity parity)
{
    switch (parity) {
    case QSerialPort::OddParity:
        return TSerialPort::ParityOdd;
    case QSerialPort::EvenParity:
        return TSerialPort::ParityEven;
    default:
        return TSerialPort::ParityNone;
    }
}

QSerialPort::FlowControl toQt(TSerialPort::FlowControl flow)
{
    switch (flow) {
    case TSerialPort::FlowHardware:
        return QSerialPort::HardwareControl;
    case TSerialPort::FlowXonXoff:
        return QSerialPort::SoftwareControl;
    case TSerialPort::FlowOff:
        break;
    }
    return QSerialPort::NoFlowControl;
}

TSerialPort::FlowControl fromQt(QSerialPort::FlowControl flow)
{
    switch (flow) {
    case QSerialPort::HardwareControl:
        return TSerialPort::FlowHardware;
    case QSerialPort::SoftwareControl:
        return TSerialPort::FlowXonXoff;
    default:
        return TSerialPort::FlowOff;
    }
}

} // namespace

TSerialPort::TSerialPort(const QString &portName, const Settings &settings, QueryMode mode,
                         QObject *parent)
    : QObject(parent)
    , m_port(new QSerialPort(portName, this))
    , m_queryMode(mode)
    , m_timeoutMs(settings.timeoutMs)
{
    m_port->setReadBufferSize(ReadBufferSize);
    setBaudRate(settings.baudRate);
    setDataBits(settings.dataBits);
    setParity(settings.parity);
    setStopBits(settings.stopBits);
    setFlowControl(settings.flowControl);

    connect(m_port, &QSerialPort::readyRead, this, [this] {
        if (m_queryMode == EventDriven)
            emit readyRead();
    });
    connect(m_port, &QSerialPort::bytesWritten, this, &TSerialPort::bytesWritten);
    connect(m_port, &QSerialPort::errorOccurred, this,
            [this](QSerialPort::SerialPortError error) { handleError(error); });
}

TSerialPort::~TSerialPort() = default;

QString TSerialPort::portName() const
{
    return m_port->portName();
}

void TSerialPort::setPortName(const QString &name)
{
    m_port->setPortName(name);
}

namespace {

QString devicePath(const QString &portName)
{
    return portName.startsWith(QLatin1Char('/')) ? portName : QStringLiteral("/dev/") + portName;
}

QString translated(const char *text)
{
    return QCoreApplication::translate("SerialPortDialog", text);
}

} // namespace

bool TSerialPort::open(QIODevice::OpenMode mode)
{
    m_refusal.clear();
    const QString path = devicePath(m_port->portName());
    QT_STATBUF status;
    if (QT_STAT(QFile::encodeName(path).constData(), &status) != 0) {
        m_refusal = translated("%1 does not exist.").arg(path);
        return false;
    }
    if (!S_ISCHR(status.st_mode)) {
        m_refusal = translated("%1 is not a serial device.").arg(path);
        return false;
    }
    return m_port->open(mode);
}

QString TSerialPort::openFailureReason() const
{
    if (!m_refusal.isEmpty())
        return m_refusal;
    const QString path = devicePath(m_port->portName());
    switch (m_port->error()) {
    case QSerialPort::NoError:
        return QString();
    case QSerialPort::DeviceNotFoundError:
        return translated("%1 does not exist.").arg(path);
    case QSerialPort::PermissionError:
        // Serial devices belong to the "dialout" group on Debian and its kin.
        return translated("No permission to open %1 (or it is in use): join the \"dialout\" group "
                          "(sudo adduser $USER dialout), then log in again.")
            .arg(path);
    default:
        return translated("%1 cannot be opened: %2").arg(path, m_port->errorString());
    }
}

void TSerialPort::close()
{
    if (m_port->isOpen())
        m_port->close();
}

bool TSerialPort::isOpen() const
{
    return m_port->isOpen();
}

TSerialPort::Settings TSerialPort::settings() const
{
    Settings s;
    s.baudRate = m_port->baudRate();
    s.dataBits = m_port->dataBits();
    s.parity = fromQt(m_port->parity());
    s.stopBits = m_port->stopBits() == QSerialPort::TwoStop ? StopBits2 : StopBits1;
    s.flowControl = fromQt(m_port->flowControl());
    s.timeoutMs = m_timeoutMs;
    return s;
}

void TSerialPort::setBaudRate(qint32 baudRate)
{
    m_port->setBaudRate(baudRate);
}

void TSerialPort::setDataBits(int dataBits)
{
    m_port->setDataBits(static_cast<QSerialPort::DataBits>(qBound(5, dataBits, 8)));
}

void TSerialPort::setParity(Parity parity)
{
    m_port->setParity(toQt(parity));
}

void TSerialPort::setStopBits(StopBits stopBits)
{
    m_port->setStopBits(stopBits == StopBits2 ? QSerialPort::TwoStop : QSerialPort::OneStop);
}

void TSerialPort::setFlowControl(FlowControl flowControl)
{
    m_port->setFlowControl(toQt(flowControl));
}

void TSerialPort::setTimeout(int milliseconds)
{
    m_timeoutMs = milliseconds;
}

TSerialPort::QueryMode TSerialPort::queryMode() const
{
    return m_queryMode;
}

void TSerialPort::setQueryMode(QueryMode mode)
{
    m_queryMode = mode;
}

qint64 TSerialPort::bytesAvailable() const
{
    return m_port->isOpen() ? m_port->bytesAvailable() : 0;
}

QByteArray TSerialPort::readAll()
{
    if (!m_port->isOpen())
        return QByteArray();
    const QByteArray data = m_port->readAll();
    // A full buffer means the device had more to give: take more next time, so that a
    // fast sender is drained in fewer and larger turns. Once it slows down, memory goes
    // back to the small buffer.
    const qint64 size = m_port->readBufferSize();
    if (data.size() >= size)
        m_port->setReadBufferSize(qMin(size * 2, MaxReadBufferSize));
    else if (data.size() < size / 4)
        m_port->setReadBufferSize(qMax(size / 2, ReadBufferSize));
    return data;
}

qint64 TSerialPort::write(const QByteArray &data)
{
    if (!m_port->isOpen())
        return -1;
    return m_port->write(data);
}

qint64 TSerialPort::bytesToWrite() const
{
    return m_port->isOpen() ? m_port->bytesToWrite() : 0;
}

void TSerialPort::discardOutput()
{
    if (m_port->isOpen())
        m_port->clear(QSerialPort::Output);
}

void TSerialPort::handleError(int error)
{
    // Only a vanished device ends the session; a failed open is the caller's to see, and
    // a single failed read or write on a live line is not worth closing over.
    if (error != QSerialPort::ResourceError || !m_port->isOpen())
        return;
    m_port->close();
    emit deviceLost();
}
