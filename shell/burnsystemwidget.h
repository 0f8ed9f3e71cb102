#pragma once

#include <QWidget>

// The download page under the "Download" tab.
// EMPTY PLACEHOLDER: only the class exists so that the main window can hold it; the menu,
// the views and the board slots are not written yet.
class BurnSystemWidget : public QWidget
{
    Q_OBJECT
public:
    explicit BurnSystemWidget(QWidget *parent = nullptr);
};
