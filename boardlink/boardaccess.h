#pragma once

#include <QCoreApplication>
#include <QString>

// A board in download mode that is plugged in but cannot be used by this user: its
// device node cannot be opened read-write (EACCES, EPERM: no udev rule gave access) or
// another program has claimed its download interface (EBUSY). Kept apart from any
// widget so that the window and a command line say the same.
struct BoardAccessProblem {
    QString node;   // "/dev/bus/usb/001/007"
    int error = 0;  // EACCES, EPERM or EBUSY; 0 when nothing stands in the way
    quint16 vendorId = 0;
    quint16 productId = 0;

    bool isNull() const { return error == 0; }
    bool operator==(const BoardAccessProblem &other) const { return node == other.node && error == other.error; }
    bool operator!=(const BoardAccessProblem &other) const { return !(*this == other); }
};

struct usb_access_problem;

class BoardAccess
{
    Q_DECLARE_TR_FUNCTIONS(BoardAccess)
public:
    // The usbdevfs search's finding, as a value.
    static BoardAccessProblem fromSearch(const usb_access_problem &found);

    // What to tell the user, translated: which node, why, and what to do (install the
    // udev rule `udevRuleFile` with the command given, or close the other program; then
    // plug the board in again). With `installedRule` (a rule udev already has) the advice
    // is to reload udev and plug in again instead. Empty for a null problem.
    static QString hintText(const BoardAccessProblem &problem, const QString &udevRuleFile,
                            const QString &installedRule = installedUdevRule());

    // The program's rule in one of the folders udev reads, or empty.
    static QString installedUdevRule();

    // The same, short enough for a status bar.
    static QString statusText(const BoardAccessProblem &problem);
};
