#include "boardlink/boardaccess.h"

#include "boardlink/usbdevfs.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

BoardAccessProblem BoardAccess::fromSearch(const usb_access_problem &found)
{
    BoardAccessProblem problem;
    if (found.error != 0) {
        problem.node = QString::fromLocal8Bit(found.node);
        problem.error = found.error;
        problem.vendorId = found.vendor_id;
        problem.productId = found.product_id;
    }
    return problem;
}

QString BoardAccess::installedUdevRule()
{
    for (const char *folder : {"/etc/udev/rules.d", "/run/udev/rules.d", "/usr/lib/udev/rules.d", "/lib/udev/rules.d"}) {
        const QString rule = QLatin1String(folder) + QStringLiteral("/70-ostrakit-halvorn.rules");
        if (QFileInfo::exists(rule))
            return rule;
    }
    return QString();
}

QString BoardAccess::hintText(const BoardAccessProblem &problem, const QString &udevRuleFile,
                              const QString &installedRule)
{
    const QString reason = QString::fromLocal8Bit(std::strerror(problem.error));
    if (problem.error == EBUSY)
        return tr("The board in download mode at %1 is in use by another program (%2). "
                  "Close the other program, then unplug the board and plug it in again.")
            .arg(problem.node, reason);
    // The rule is there, but the node was made before udev read it, or the user is not
    // the one at the seat (a remote login).
    if ((problem.error == EACCES || problem.error == EPERM) && !installedRule.isEmpty())
        return tr("The board in download mode at %1 cannot be opened for writing (%2), although the udev rule "
                  "%3 is installed. It gives access to the user logged in at the seat only. Run "
                  "\"sudo udevadm control --reload-rules\". Then unplug the board and plug it in again.")
            .arg(problem.node, reason, installedRule);
    if (problem.error == EACCES || problem.error == EPERM)
        return tr("The board in download mode at %1 cannot be opened for writing (%2). "
                  "Ostrakit's udev rule gives the user at the seat access: install it with "
                  "\"sudo install -m 644 %3 /etc/udev/rules.d/ && sudo udevadm control --reload-rules\". "
                  "Then unplug the board and plug it in again.")
            .arg(problem.node, reason, udevRuleFile);
    return QString();
}

QString BoardAccess::statusText(const BoardAccessProblem &problem)
{
    if (problem.error == EBUSY)
        return tr("Board at %1 is in use by another program").arg(problem.node);
    if (problem.error == EACCES || problem.error == EPERM)
        return tr("No write access to the board at %1").arg(problem.node);
    return QString();
}
