#include "shell/burnsystemwidget.h"

// EMPTY PLACEHOLDER, see the header.
BurnSystemWidget::BurnSystemWidget(QWidget *parent)
    : QWidget(parent)
{
}
