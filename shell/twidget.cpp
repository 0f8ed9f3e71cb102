#include "shell/twidget.h"

TWidget::TWidget(QWidget *parent)
    : QWidget(parent)
{
}
