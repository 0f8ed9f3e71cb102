#pragma once

#include <QAbstractButton>

// A flat push button drawn in the shell's own colours: blue at rest, green while held,
// grey when disabled.
class TButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit TButton(QWidget *parent = nullptr);
    explicit TButton(const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};
