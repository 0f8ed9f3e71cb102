#pragma once

#include <QAbstractButton>
#include <QPixmap>

// A 100 x 70 tab of the main window's tab strip: background picture, a 36 x 36 icon and
// the caption under it. The tab strip fills in the pictures and the caption.
class TabButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit TabButton(QWidget *parent = nullptr);

    QPixmap tabIcon;
    QPixmap selectedIcon;
    QPixmap normalBackground;
    QPixmap selectedBackground;
    // Kept for the strip's own use; the look does not depend on it.
    bool firstTab = false;

protected:
    void paintEvent(QPaintEvent *event) override;
};
