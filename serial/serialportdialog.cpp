#include "serial/serialportdialog.h"

#include "app/userdialogs.h"
#include "serial/hexconversion.h"
#include "serial/tserialport.h"
#include "ui_serialportdialogbase.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QTimer>

namespace {

// The maker's web address as shown in the window title.
const char MakerWebAddress[] = "www.example.com";

const int PollIntervalMs = 40;
const int DefaultAutoSendPeriodMs = 1000;
const int FileChunkSize = 4096;

// A file goes out one chunk per event-loop turn, but no further ahead of the line than
// this: the port queues what it cannot write yet, and without a limit a whole file
// would sit in that queue, the bar would lie and "Cancel Sending" would cancel nothing.
const qint64 MaxQueuedFileBytes = 64 * 1024;

void addNumberItems(QComboBox *box, std::initializer_list<int> values)
{
    for (int value : values)
        box->addItem(QString::number(value), value);
}

} // namespace

SerialPortDialog::SerialPortDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::SerialPortDialogBase>())
{
    ui->setupUi(this);
    setWindowFlags(Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint | Qt::WindowCloseButtonHint);

    // Filled before anything is connected: the initial selections must reach no slot.
    fillSettingBoxes();

    // Polling at 10 ms is what every board console needs; the rows stay out of sight.
    ui->queryModeBox->hide();
    ui->label_6->hide();
    ui->sendFileProgressBar->hide();
    ui->timeoutBox->hide();
    ui->label_7->hide();

    ui->recvEdit->setReadOnly(true);
    ui->led->turnOff();
    m_recvDisplay = new TRecvDisplay(ui->recvEdit, this);

    m_pollTimer = new QTimer(this);
    m_pollTimer->setObjectName(QStringLiteral("pollTimer"));
    m_pollTimer->setInterval(PollIntervalMs);

    TSerialPort::Settings settings;
    settings.baudRate = 115200;
    settings.dataBits = 8;
    settings.parity = TSerialPort::ParityNone;
    settings.stopBits = TSerialPort::StopBits1;
    settings.flowControl = TSerialPort::FlowOff;
    settings.timeoutMs = 10;
    m_port = std::make_unique<TSerialPort>(ui->portBox->currentText(), settings, TSerialPort::Polling);

    connectControls();

    setWindowTitle(tr("Serial assistant (by Velkaro, ") + QLatin1String(MakerWebAddress) + QLatin1Char(')'));
    setWindowIcon(QIcon(QStringLiteral(":/serialport_icon.png")));

    m_sendFileTimer = new QTimer(this);
    m_sendFileTimer->setObjectName(QStringLiteral("sendFileTimer"));
    m_sendFileTimer->setInterval(0);
    m_autoSendTimer = new QTimer(this);
    m_autoSendTimer->setObjectName(QStringLiteral("autoSendTimer"));
    m_autoSendTimer->setInterval(DefaultAutoSendPeriodMs);
    connect(m_sendFileTimer, &QTimer::timeout, this, &SerialPortDialog::sendFileTimerTimeout);
    connect(m_autoSendTimer, &QTimer::timeout, this, &SerialPortDialog::autoSendTimerTimeout);
}

// The stream goes before its file (reverse declaration order), the port before the
// timers that are children of the dialog.
SerialPortDialog::~SerialPortDialog() = default;

void SerialPortDialog::fillSettingBoxes()
{
    ui->portBox->setEditable(true);
    for (const char *name : {"/dev/ttyS0", "/dev/ttyS1", "/dev/ttyUSB0", "/dev/ttyUSB1"})
        ui->portBox->addItem(QString::fromLatin1(name));
    ui->portBox->setCurrentIndex(0);

    addNumberItems(ui->baudRateBox, {1200, 2400, 4800, 9600, 19200, 115200});
    ui->baudRateBox->setCurrentIndex(ui->baudRateBox->findData(115200));

    ui->parityBox->addItem(QStringLiteral("NONE"), TSerialPort::ParityNone);
    ui->parityBox->addItem(QStringLiteral("ODD"), TSerialPort::ParityOdd);
    ui->parityBox->addItem(QStringLiteral("EVEN"), TSerialPort::ParityEven);
    ui->parityBox->setCurrentIndex(ui->parityBox->findData(TSerialPort::ParityNone));

    addNumberItems(ui->dataBitsBox, {5, 6, 7, 8});
    ui->dataBitsBox->setCurrentIndex(ui->dataBitsBox->findData(8));

    ui->stopBitsBox->addItem(QStringLiteral("1"), TSerialPort::StopBits1);
    ui->stopBitsBox->addItem(QStringLiteral("2"), TSerialPort::StopBits2);
    ui->stopBitsBox->setCurrentIndex(ui->stopBitsBox->findData(TSerialPort::StopBits1));

    ui->queryModeBox->addItem(QStringLiteral("Polling"), TSerialPort::Polling);
    ui->queryModeBox->addItem(QStringLiteral("EventDriven"), TSerialPort::EventDriven);
    ui->queryModeBox->setCurrentIndex(ui->queryModeBox->findData(TSerialPort::Polling));

    for (const char *period : {"500", "1000", "2000", "3000", "5000", "8000"})
        ui->autoSendComboBox->addItem(QString::fromLatin1(period));
    ui->autoSendComboBox->setCurrentIndex(ui->autoSendComboBox->findText(QStringLiteral("1000")));

    ui->autoSendTypeComboBox->addItem(tr("The text to be sent"), AutoSendText);
    ui->autoSendTypeComboBox->addItem(tr("File"), AutoSendFile);
    ui->autoSendTypeComboBox->setCurrentIndex(0);
}

void SerialPortDialog::connectControls()
{
    using Combo = QComboBox;
    connect(ui->baudRateBox, &Combo::currentIndexChanged, this, &SerialPortDialog::onBaudRateChanged);
    connect(ui->parityBox, &Combo::currentIndexChanged, this, &SerialPortDialog::onParityChanged);
    connect(ui->dataBitsBox, &Combo::currentIndexChanged, this, &SerialPortDialog::onDataBitsChanged);
    connect(ui->stopBitsBox, &Combo::currentIndexChanged, this, &SerialPortDialog::onStopBitsChanged);
    connect(ui->queryModeBox, &Combo::currentIndexChanged, this, &SerialPortDialog::onQueryModeChanged);
    connect(ui->timeoutBox, &QSpinBox::valueChanged, this, &SerialPortDialog::onTimeoutChanged);
    connect(ui->portBox, &Combo::editTextChanged, this, &SerialPortDialog::onPortNameChanged);
    connect(ui->openCloseButton, &QPushButton::clicked, this, &SerialPortDialog::onOpenCloseButtonClicked);
    connect(ui->sendButton, &QPushButton::clicked, this, &SerialPortDialog::onSendButtonClicked);
    connect(m_pollTimer, &QTimer::timeout, this, &SerialPortDialog::onReadyRead);
    connect(m_port.get(), &TSerialPort::readyRead, this, &SerialPortDialog::onReadyRead);
    connect(m_port.get(), &TSerialPort::bytesWritten, this, &SerialPortDialog::onPortBytesWritten);
    connect(m_port.get(), &TSerialPort::deviceLost, this, &SerialPortDialog::onDeviceLost);
    connect(ui->autoSendComboBox, &Combo::currentIndexChanged, this, [this](int index) {
        on_autoSendComboBox_currentIndexChanged(ui->autoSendComboBox->itemText(index));
    });
}

void SerialPortDialog::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        // The form only knows the idle label; a running transfer keeps its cancel button.
        if (m_sendFile)
            ui->sendFileBtn->setText(tr("Cancel Sending"));
    }
}

// ---- Port settings, open and close ----

void SerialPortDialog::onPortNameChanged(const QString &)
{
    // The new name is taken at the next open; the old device must not stay open under
    // a name the box no longer shows. The poll timer may run on: a closed port reads nothing.
    if (!m_port->isOpen())
        return;
    m_port->close();
    portClosed();
}

void SerialPortDialog::onBaudRateChanged(int index)
{
    m_port->setBaudRate(ui->baudRateBox->itemData(index).toInt());
}

void SerialPortDialog::onParityChanged(int index)
{
    m_port->setParity(static_cast<TSerialPort::Parity>(ui->parityBox->itemData(index).toInt()));
}

void SerialPortDialog::onDataBitsChanged(int index)
{
    m_port->setDataBits(ui->dataBitsBox->itemData(index).toInt());
}

void SerialPortDialog::onStopBitsChanged(int index)
{
    m_port->setStopBits(static_cast<TSerialPort::StopBits>(ui->stopBitsBox->itemData(index).toInt()));
}

void SerialPortDialog::onQueryModeChanged(int index)
{
    m_port->setQueryMode(static_cast<TSerialPort::QueryMode>(ui->queryModeBox->itemData(index).toInt()));
}

void SerialPortDialog::onTimeoutChanged(int milliseconds)
{
    m_port->setTimeout(milliseconds);
}

void SerialPortDialog::onOpenCloseButtonClicked()
{
    if (m_port->isOpen()) {
        m_port->close();
    } else {
        m_port->setPortName(ui->portBox->currentText());
        // No message box for a device that cannot be opened, but the lamp stays dark
        // with the reason beside it.
        if (!m_port->open(QIODevice::ReadWrite))
            ui->portStateLabel->setText(m_port->openFailureReason());
        else
            ui->portStateLabel->clear();
    }

    if (!m_port->isOpen()) {
        m_pollTimer->stop();
        portClosed();
        return;
    }
    if (m_port->queryMode() == TSerialPort::Polling)
        m_pollTimer->start();
    ui->led->turnOn();
}

void SerialPortDialog::onDeviceLost()
{
    m_pollTimer->stop();
    portClosed();
}

void SerialPortDialog::portClosed()
{
    ui->led->turnOff();
    if (m_sendFile) {
        // The far end may have gone mid-file; the user needs to know where it stopped.
        ui->portStateLabel->setText(tr("The port closed during the file send: %1 of %2 bytes were sent.")
                                        .arg(m_sentFileBytes)
                                        .arg(m_sendFile->size()));
        sendFileDone();
    }
}

// ---- Receiving ----

void SerialPortDialog::onReadyRead()
{
    if (QCoreApplication::arguments().contains(QStringLiteral("--debug"))
        && m_port->queryMode() == TSerialPort::EventDriven) {
        // Shows how much each event brings without consuming it.
        appendTextToRecvText(QString::number(m_port->bytesAvailable()));
        return;
    }
    if (m_port->bytesAvailable() <= 0)
        return;
    m_recvDisplay->showReceived(m_port->readAll(), recvOptions());
}

TRecvDisplay::Options SerialPortDialog::recvOptions() const
{
    TRecvDisplay::Options options;
    options.pause = ui->pauseRecvCheckBox->isChecked();
    options.hex = ui->displayHEXCheckBox->isChecked();
    options.autoClear = ui->autoCleanRecvEditCheckBox->isChecked();
    return options;
}

void SerialPortDialog::appendTextToRecvText(const QString &text)
{
    m_recvDisplay->appendText(text, recvOptions());
}

void SerialPortDialog::appendHTMLToRecvText(const QString &html)
{
    m_recvDisplay->appendHtml(html, recvOptions());
}

QString SerialPortDialog::echoLine(const QString &what, const QString &data) const
{
    return QStringLiteral("<font color=gray>%1: %2</font><br>").arg(what, data);
}

void SerialPortDialog::on_clearRecvEditBoxBtn_clicked()
{
    m_recvDisplay->clear();
}

// ---- Sending text ----

void SerialPortDialog::onSendButtonClicked()
{
    if (m_port->isOpen())
        doSendText();
    else
        showMessage(tr("Please open the serial port."));
}

bool SerialPortDialog::doSendText()
{
    QString text = ui->sendEdit->toPlainText();
    // With nothing typed the write below is what fails; the order is kept so that an
    // empty send with a line end still echoes.
    if (!m_port->isOpen() && !text.isEmpty())
        return false;

    const bool hexSend = ui->sendHEXCheckBox->isChecked();
    // The hex line end is line feed first, as the boards' loaders expect it typed.
    if (ui->autoAddReturnCheckBox->isChecked())
        text += hexSend ? QStringLiteral(" 0A 0D") : QStringLiteral("\r\n");
    const QString data = hexSend ? HexToString(text) : text;

    bool written = false;
    if (!data.isEmpty()) {
        if (ui->showBackCheckBox->isChecked())
            appendHTMLToRecvText(echoLine(tr("Send"), ui->displayHEXCheckBox->isChecked() ? data : text));
        // One byte per character: the boards' consoles speak Latin-1 at most.
        written = m_port->write(data.toLatin1()) > 0;
    }

    if (!ui->autoSendCheckBox->isChecked() && autoSendType() == AutoSendText
        && ui->autoClearSendEditCheckBox->isChecked())
        ui->sendEdit->clear();
    return written;
}

void SerialPortDialog::on_clearSendEditBtn_clicked()
{
    ui->sendEdit->clear();
}

void SerialPortDialog::on_sendHEXCheckBox_clicked()
{
    const QString content = ui->sendEdit->toPlainText();
    if (content.isEmpty())
        return;
    const QString converted = ui->sendHEXCheckBox->isChecked() ? StringToHex(content) : HexToString(content);
    ui->sendEdit->clear();
    ui->sendEdit->appendPlainText(converted);
}

// ---- Sending a file ----

void SerialPortDialog::on_sendFileBrowerBtn_clicked()
{
    const QString start = ui->sendFileEdit->text().isEmpty() ? QStringLiteral(".") : ui->sendFileEdit->text();
    const QString path = UserDialogs::getOpenFileName(this, tr("Select File"), start, tr("Files(*.*)"));
    if (!path.isEmpty())
        ui->sendFileEdit->setText(QDir::toNativeSeparators(path));
}

void SerialPortDialog::on_sendFileBtn_clicked()
{
    if (m_port->isOpen())
        doSendFile();
    else
        showMessage(tr("Please open the serial port."));
}

bool SerialPortDialog::doSendFile()
{
    if (!m_port->isOpen())
        return false;
    if (m_sendFile) {
        // The button reads "Cancel Sending" now. What the port has queued but not yet
        // written goes too, or the file would go on arriving after the cancel.
        m_port->discardOutput();
        sendFileDone();
        return false;
    }

    // A manual send with the text type fails silently; only the file type complains.
    const bool complain = !ui->autoSendCheckBox->isChecked() && autoSendType() == AutoSendFile;
    if (ui->sendFileEdit->text().isEmpty()) {
        if (complain)
            showMessage(tr("Please select the file you want to send."));
        return false;
    }

    auto file = std::make_unique<QFile>(ui->sendFileEdit->text());
    // A FIFO or a device would block the open, or never end: only files are sent.
    if (!QFileInfo(file->fileName()).isFile() || !file->open(QIODevice::ReadOnly)) {
        if (complain)
            showMessage(tr("File open failed."));
        return false;
    }
    m_sendFile = std::move(file);
    m_sentFileBytes = 0;

    ui->sendFileProgressBar->setRange(0, int(qMin<qint64>(m_sendFile->size(), INT_MAX)));
    ui->sendFileProgressBar->setValue(0);
    ui->sendFileProgressBar->show();
    ui->sendButton->setEnabled(false);
    ui->sendEdit->setEnabled(false);
    m_sendFileStream = std::make_unique<QDataStream>(m_sendFile.get());

    if (ui->showBackCheckBox->isChecked())
        appendHTMLToRecvText(echoLine(tr("Send File"), m_sendFile->fileName()));

    ui->sendFileBtn->setText(tr("Cancel Sending"));
    ui->sendFileBrowerBtn->setEnabled(false);
    ui->sendFileEdit->setEnabled(false);
    m_sendFileTimer->start();
    return true;
}

void SerialPortDialog::sendFileTimerTimeout()
{
    if (m_port->isOpen() && m_sendFileStream && !m_sendFileStream->atEnd()) {
        if (m_port->bytesToWrite() >= MaxQueuedFileBytes) {
            // Resumed by onPortBytesWritten() once the line has taken some of it.
            m_sendFileTimer->stop();
            return;
        }
        char chunk[FileChunkSize];
        const int n = m_sendFileStream->readRawData(chunk, FileChunkSize);
        if (n != -1) {
            ui->sendFileProgressBar->setValue(ui->sendFileProgressBar->value() + n);
            m_port->write(QByteArray(chunk, n));
            return;
        }
        showMessage(tr("An error occurred during file read."));
    }
    sendFileDone();
}

void SerialPortDialog::onPortBytesWritten(qint64 bytes)
{
    if (m_sendFile)
        m_sentFileBytes += bytes;
    if (m_sendFile && !m_sendFileTimer->isActive() && m_port->bytesToWrite() < MaxQueuedFileBytes)
        m_sendFileTimer->start();
}

void SerialPortDialog::sendFileDone()
{
    m_sendFileStream.reset();
    m_sendFile.reset();
    m_sendFileTimer->stop();
    ui->sendFileProgressBar->hide();
    ui->sendFileBtn->setText(tr("Send File"));
    if (!ui->autoSendCheckBox->isChecked())
        enableSendEditAndFileEdit(true);
}

// ---- Sending on a timer ----

int SerialPortDialog::currentAutoSendMiscSecs() const
{
    const QString text = ui->autoSendComboBox->currentText();
    qsizetype digits = 0;
    while (digits < text.size() && text.at(digits) >= QLatin1Char('0') && text.at(digits) <= QLatin1Char('9'))
        ++digits;
    bool ok = false;
    const int period = text.left(digits).toInt(&ok);
    return ok ? period : DefaultAutoSendPeriodMs;
}

void SerialPortDialog::on_autoSendCheckBox_clicked()
{
    m_autoSendTimer->stop();
    if (!m_port->isOpen()) {
        ui->autoSendCheckBox->setChecked(false);
        enableSendEditAndFileEdit(true);
        return;
    }
    if (!ui->autoSendCheckBox->isChecked()) {
        enableSendEditAndFileEdit(true);
        return;
    }

    switch (autoSendType()) {
    case AutoSendText:
        if (ui->sendEdit->toPlainText().isEmpty()) {
            showMessage(tr("Please enter the content you want to send."));
            ui->autoSendCheckBox->setChecked(false);
            return;
        }
        // Repeated sends need the text to stay.
        ui->autoClearSendEditCheckBox->setChecked(false);
        break;
    case AutoSendFile:
        if (ui->sendFileEdit->text().isEmpty()) {
            showMessage(tr("Please select the file you want to automatically send."));
            ui->autoSendCheckBox->setChecked(false);
            return;
        }
        break;
    case AutoSendNone:
        break;
    }

    // The first send comes one period from now, not at the click.
    m_autoSendTimer->setInterval(currentAutoSendMiscSecs());
    m_autoSendTimer->start();
    enableSendEditAndFileEdit(false);
}

void SerialPortDialog::on_autoSendComboBox_currentIndexChanged(const QString &)
{
    if (ui->autoSendCheckBox->isChecked())
        on_autoSendCheckBox_clicked();
}

void SerialPortDialog::autoSendTimerTimeout()
{
    if (!ui->autoSendCheckBox->isChecked())
        return;

    const AutoSendType type = autoSendType();
    bool nothing = !m_port->isOpen();
    if (!nothing && type == AutoSendText)
        nothing = ui->sendEdit->toPlainText().isEmpty();
    else if (!nothing && type == AutoSendFile)
        nothing = ui->sendFileEdit->text().isEmpty();

    if (type == AutoSendText) {
        if (!nothing && doSendText())
            return;
    } else if (type == AutoSendFile && m_sendFile) {
        // A transfer longer than the period just goes on; this tick is skipped.
        if (!nothing)
            return;
    } else if (type == AutoSendFile) {
        if (!nothing && doSendFile())
            return;
    }

    ui->autoSendCheckBox->setChecked(false);
    on_autoSendCheckBox_clicked();
}

void SerialPortDialog::enableSendEditAndFileEdit(bool on)
{
    ui->sendEdit->setEnabled(on);
    ui->sendButton->setEnabled(on);
    ui->clearSendEditBtn->setEnabled(on);
    ui->sendFileBrowerBtn->setEnabled(on);
    ui->sendFileBtn->setEnabled(on);
    ui->sendFileEdit->setEnabled(on);
}

SerialPortDialog::AutoSendType SerialPortDialog::autoSendType() const
{
    const QVariant type = ui->autoSendTypeComboBox->currentData();
    return type.isValid() ? static_cast<AutoSendType>(type.toInt()) : AutoSendNone;
}

void SerialPortDialog::showMessage(const QString &text)
{
    UserDialogs::information(this, tr("Message"), text);
}
