#include "ptypair.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>
#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

bool PtyPair::start(QString *why)
{
    termios raw{};
    if (!m_dir.isValid() || openpty(&m_farFd, &m_deviceFd, nullptr, nullptr, nullptr) != 0
        || tcgetattr(m_deviceFd, &raw) != 0 || (cfmakeraw(&raw), tcsetattr(m_deviceFd, TCSANOW, &raw)) != 0
        || fcntl(m_farFd, F_SETFL, O_NONBLOCK) != 0
        || !QFile::link(QString::fromLocal8Bit(ttyname(m_deviceFd)), deviceEnd())) {
        *why = QStringLiteral("cannot make a pseudo terminal: ") + QString::fromLocal8Bit(strerror(errno));
        return false;
    }
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
    QFile::remove(deviceEnd());
    for (int *fd : {&m_farFd, &m_deviceFd}) {
        if (*fd >= 0)
            ::close(*fd);
        *fd = -1;
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
    ssize_t n;
    while ((n = ::read(m_farFd, buffer, sizeof buffer)) > 0)
        m_received.append(buffer, n);
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
