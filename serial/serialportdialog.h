#pragma once

#include <QDialog>

// The serial assistant.
// EMPTY PLACEHOLDER: only the class exists so that the main window can open it; the port
// settings, the display and the sending are not written yet.
class SerialPortDialog : public QDialog
{
    Q_OBJECT
public:
    explicit SerialPortDialog(QWidget *parent = nullptr);
};
