#pragma once

#include <QAbstractButton>
#include <QPixmap>

// One of the small buttons at the top right of the frameless window (close, minimise,
// menu): a picture on light blue, swapped for its pressed picture on red.
class TitleButton : public QAbstractButton
{
    Q_OBJECT
public:
    TitleButton(const QString &normalImage, const QString &pressedImage, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    // The window keeps these buttons hidden; their pictures are read when first painted.
    QString normalImage;
    QString pressedImage;
    QPixmap normalPixmap;
    QPixmap pressedPixmap;
};
