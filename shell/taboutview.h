#pragma once

#include <QPixmap>
#include <QWidget>

class QPushButton;

// The about page: a picture and the version. Its update button is built but hidden; the
// program does not check for updates.
class TAboutView : public QWidget
{
    Q_OBJECT
public:
    explicit TAboutView(QWidget *parent = nullptr);

public Q_SLOTS:
    void updateButtonClicked();
    void timeToUpdate();
    void resetView();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPushButton *updateButton = nullptr;
    QPixmap picture;
};
