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
#include <QTimer>

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
    QTimer *timer(const char *name) const { return get<QTimer>(name); }
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

// Collects the information boxes the dialog would show.
struct MessageLog
{
    MessageLog() { UserDialogs::setInformationHandler([this](QWidget *, const QString &t, const QString &x) { titles << t, texts << x; }); }
    ~MessageLog() { UserDialogs::setInformationHandler(nullptr); }
    QStringList titles, texts;
};

// A dialog whose port is open on one end of a pty pair; `skip` says why when the machine cannot make one.
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
