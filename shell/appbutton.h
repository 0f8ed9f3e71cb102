#pragma once

#include <QAbstractButton>
#include <QPixmap>

// A launcher on the utilities page: a 64 x 64 application icon with its name below.
// Pressing it nudges icon and name one pixel down and right.
class AppButton : public QAbstractButton
{
    Q_OBJECT
public:
    AppButton(const QString &text, const QPixmap &icon, const QPixmap &pressedIcon,
              QWidget *parent = nullptr);

    // Wide enough for the icon and the name, tall enough for both.
    QSize buttonSize() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap appIcon;
    QPixmap pressedIcon;
};
