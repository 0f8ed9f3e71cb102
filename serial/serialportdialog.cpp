#include "serial/serialportdialog.h"

// EMPTY PLACEHOLDER, see the header.
SerialPortDialog::SerialPortDialog(QWidget *parent)
    : QDialog(parent)
{
}
