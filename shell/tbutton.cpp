#include "shell/tbutton.h"

#include <QPainter>

TButton::TButton(QWidget *parent)
    : QAbstractButton(parent)
{
}

TButton::TButton(const QString &text, QWidget *parent)
    : QAbstractButton(parent)
{
    setText(text);
}

void TButton::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    // Held wins over disabled: a button that is being released after it was disabled
    // still shows the press.
    QColor fill(125, 185, 216);
    if (isDown())
        fill = QColor(140, 198, 42);
    else if (!isEnabled())
        fill = QColor(220, 220, 220);
    painter.fillRect(rect(), fill);
    painter.setPen(Qt::white);
    painter.drawText(rect(), Qt::AlignCenter, text());
}
