#pragma once

#include "app/userdialogs.h"
#include "ptypair.h"
#include "serial/hled.h"
#include "serial/serialportdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStringList>
#include <QTimer>

// The serial assistant's controls, found by their object names as a user finds them by
// their labels.
struct DialogControls
{
    explicit DialogControls(SerialPortDialog &d)
        : dialog(d)
    {
    }

    template<class T>
    T *get(const char *name) const
    {
        T *child = dialog.findChild<T *>(QLatin1String(name));
        if (!child)
            qFatal("the serial assistant has no %s", name);
        return child;
    }

    QComboBox *portBox() const { return get<QComboBox>("portBox"); }
    QPushButton *openClose() const { return get<QPushButton>("openCloseButton"); }
    HLed *led() const { return get<HLed>("led"); }
    QPlainTextEdit *recvEdit() const { return get<QPlainTextEdit>("recvEdit"); }
    QPlainTextEdit *sendEdit() const { return get<QPlainTextEdit>("sendEdit"); }
    QPushButton *sendButton() const { return get<QPushButton>("sendButton"); }
    QCheckBox *box(const char *name) const { return get<QCheckBox>(name); }
    QComboBox *combo(const char *name) const { return get<QComboBox>(name); }
    QTimer *timer(const char *name) const { return get<QTimer>(name); }
    QLineEdit *sendFileEdit() const { return get<QLineEdit>("sendFileEdit"); }
    QPushButton *sendFileBtn() const { return get<QPushButton>("sendFileBtn"); }
    QProgressBar *progress() const { return get<QProgressBar>("sendFileProgressBar"); }

    // Puts `path` in the port box and opens it with the button.
    void open(const QString &path) const
    {
        portBox()->setEditText(path);
        openClose()->click();
    }

    SerialPortDialog &dialog;
};

// Collects the information boxes the dialog would show.
class MessageLog
{
public:
    MessageLog()
    {
        UserDialogs::setInformationHandler([this](QWidget *, const QString &title, const QString &text) {
            titles << title;
            texts << text;
        });
    }
    ~MessageLog() { UserDialogs::setInformationHandler(nullptr); }

    QStringList titles;
    QStringList texts;
};

// A dialog whose port is open on one end of a pty pair; `skip` says why when the machine
// cannot make one.
struct OpenDialog
{
    OpenDialog()
    {
        if (pty.start(&skip))
            c.open(pty.deviceEnd());
    }

    PtyPair pty;
    QString skip;
    MessageLog messages;
    SerialPortDialog dialog;
    DialogControls c{dialog};
};
