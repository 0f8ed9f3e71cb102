#pragma once

#include <QWidget>

// A plain widget with a meta-object of its own, so that pages built from it can carry
// signals and slots and be found by class name.
class TWidget : public QWidget
{
    Q_OBJECT
public:
    explicit TWidget(QWidget *parent = nullptr);
};
