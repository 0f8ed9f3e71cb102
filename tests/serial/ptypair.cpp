#include "ptypair.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

PtyPair::PtyPair() = default;

PtyPair::~PtyPair()
{
    stop();
}

QString PtyPair::deviceEnd() const
{
    return m_dir.filePath(QStringLiteral("device"));
}

QString PtyPair::farEnd() const
{
    return m_dir.filePath(QStringLiteral("far"));
}

bool PtyPair::start(QString *why)
{
    const QString socat = QStandardPaths::findExecutable(QStringLiteral("socat"));
    if (socat.isEmpty()) {
        *why = QStringLiteral("socat is not installed (apt-get install socat)");
        return false;
    }
    if (!m_dir.isValid()) {
        *why = QStringLiteral("no temporary folder");
        return false;
    }
    const QString pty = QStringLiteral("pty,raw,echo=0,link=");
    m_socat.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_socat.start(socat, {QStringLiteral("-d"), QStringLiteral("-d"), pty + deviceEnd(), pty + farEnd()});
    if (!m_socat.waitForStarted(10000)) {
        *why = QStringLiteral("socat did not start: ") + m_socat.errorString();
        return false;
    }
    // socat makes the links once both terminals exist; a test helper may wait here.
    const QDeadlineTimer deadline(10000);
    while (!(QFileInfo::exists(deviceEnd()) && QFileInfo::exists(farEnd()))) {
        if (deadline.hasExpired() || m_socat.state() != QProcess::Running) {
            *why = QStringLiteral("socat made no pty links");
            return false;
        }
        QThread::msleep(10);
    }
    m_farFd = ::open(QFile::encodeName(farEnd()).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (m_farFd < 0) {
        *why = QStringLiteral("cannot open the far end: ") + QString::fromLocal8Bit(strerror(errno));
        return false;
    }
    termios tio {};
    tcgetattr(m_farFd, &tio);
    cfmakeraw(&tio);
    tcsetattr(m_farFd, TCSANOW, &tio);
    m_notifier = new QSocketNotifier(m_farFd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &PtyPair::readFar);
    m_writeNotifier = new QSocketNotifier(m_farFd, QSocketNotifier::Write, this);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier, &QSocketNotifier::activated, this, &PtyPair::writeFar);
    return true;
}

void PtyPair::stop()
{
    delete m_notifier;
    m_notifier = nullptr;
    delete m_writeNotifier;
    m_writeNotifier = nullptr;
    m_pending.clear();
    if (m_farFd >= 0) {
        ::close(m_farFd);
        m_farFd = -1;
    }
    if (m_socat.state() != QProcess::NotRunning) {
        m_socat.kill();
        m_socat.waitForFinished(10000);
    }
}

void PtyPair::setReading(bool on)
{
    if (m_notifier)
        m_notifier->setEnabled(on);
}

void PtyPair::readFar()
{
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(m_farFd, buffer, sizeof buffer);
        if (n <= 0)
            break;
        m_received.append(buffer, n);
    }
}

bool PtyPair::send(const QByteArray &data)
{
    if (m_farFd < 0)
        return false;
    m_pending += data;
    return writeFar();
}

bool PtyPair::writeFar()
{
    while (!m_pending.isEmpty()) {
        const ssize_t n = ::write(m_farFd, m_pending.constData(), size_t(m_pending.size()));
        if (n > 0) {
            m_pending.remove(0, n);
        } else if (n < 0 && errno == EAGAIN) {
            break;
        } else {
            m_pending.clear();
            m_writeNotifier->setEnabled(false);
            return false;
        }
    }
    m_writeNotifier->setEnabled(!m_pending.isEmpty());
    return true;
}
