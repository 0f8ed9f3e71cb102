#pragma once

#include "app/userdialogs.h"
#include "serial/hled.h"
#include "serial/serialportdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTimer>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <pty.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

// A pseudo terminal standing in for a USB serial adapter: the dialog opens the device end
// like a serial device, the test talks on the far (master) end.
struct PtyPair
{
    ~PtyPair() { stop(); }
    // Makes the terminal; on failure `why` says what went wrong.
    bool start(QString *why)
    {
        termios raw{};
        if (!dir.isValid() || openpty(&farFd, &deviceFd, nullptr, nullptr, nullptr) != 0 || tcgetattr(deviceFd, &raw) != 0
            || (cfmakeraw(&raw), tcsetattr(deviceFd, TCSANOW, &raw)) != 0 || fcntl(farFd, F_SETFL, O_NONBLOCK) != 0
            || !QFile::link(QString::fromLocal8Bit(ttyname(deviceFd)), deviceEnd())) {
            *why = QStringLiteral("cannot make a pseudo terminal: ") + QString::fromLocal8Bit(strerror(errno));
            return false;
        }
        reader = std::make_unique<QSocketNotifier>(farFd, QSocketNotifier::Read);
        QObject::connect(reader.get(), &QSocketNotifier::activated, [this] {
            char buffer[65536];
            for (ssize_t n; (n = ::read(farFd, buffer, sizeof buffer)) > 0;)
                received.append(buffer, n);
        });
        return true;
    }
    // Hangs up and removes the device, as a pulled USB adapter does.
    void stop()
    {
        reader.reset();
        QFile::remove(deviceEnd());
        for (int *fd : {&farFd, &deviceFd})
            if (*fd >= 0)
                ::close(std::exchange(*fd, -1));
    }
    QString deviceEnd() const { return dir.filePath(QStringLiteral("device")); }
    // Not reading at the far end fills the line and holds the writer back.
    void setReading(bool on) { reader->setEnabled(on); }
    // Writes `data` to the far end: short texts, which the line takes at once.
    bool send(const QByteArray &data) { return farFd >= 0 && ::write(farFd, data.constData(), size_t(data.size())) == data.size(); }

    QTemporaryDir dir;
    int farFd = -1;
    int deviceFd = -1; // the pair's own hold on the device end, so the far end never sees a hang-up
    QByteArray received; // everything the far end has read so far
    std::unique_ptr<QSocketNotifier> reader;
};

// The serial assistant's controls, found by their object names as a user finds them by labels.
struct DialogControls
{
    template<class T = QWidget>
    T *get(const char *name) const
    {
        T *child = dialog.findChild<T *>(QLatin1String(name));
        if (!child)
            qFatal("the serial assistant has no %s", name);
        return child;
    }
    QPushButton *button(const char *name) const { return get<QPushButton>(name); }
    QCheckBox *box(const char *name) const { return get<QCheckBox>(name); }
    QComboBox *combo(const char *name) const { return get<QComboBox>(name); }
    QPlainTextEdit *edit(const char *name) const { return get<QPlainTextEdit>(name); }
    QLineEdit *fileEdit() const { return get<QLineEdit>("sendFileEdit"); }
    QProgressBar *progress() const { return get<QProgressBar>("sendFileProgressBar"); }
    bool lit() const { return get<HLed>("led")->isOn(); }
    void open(const QString &path) const
    {
        combo("portBox")->setEditText(path);
        button("openCloseButton")->click();
    }
    void choose(const char *name, const char *text) const { combo(name)->setCurrentIndex(combo(name)->findText(text)); }

    SerialPortDialog &dialog;
};

// A dialog whose port is open on one end of a pty pair; `skip` says why when the machine
// cannot make one. The information boxes it would show are collected.
struct OpenDialog
{
    OpenDialog()
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &t, const QString &x) { titles << t, messages << x; });
        if (pty.start(&skip))
            c.open(pty.deviceEnd());
    }
    ~OpenDialog() { UserDialogs::setInformationHandler(nullptr); }
    PtyPair pty;
    QString skip;
    QStringList titles, messages;
    SerialPortDialog dialog;
    DialogControls c{dialog};
};
