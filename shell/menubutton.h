#pragma once

#include <QAbstractButton>
#include <QPixmap>

// A row of the download tab's menu: an optional 24 x 24 icon and a caption, indented by
// level. Headings use grey text. The menu disables the chosen row to mark it.
class MenuButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit MenuButton(QWidget *parent = nullptr);

    QPixmap menuIcon; // may be null
    int indentLevel = 0;
    bool greyText = false;

    // Where the caption starts, for the row's current icon and indent.
    QRect textRect() const;
    // The width the caption may take before it reaches the row's right edge.
    int captionRoom() const;

protected:
    void paintEvent(QPaintEvent *event) override;
};
