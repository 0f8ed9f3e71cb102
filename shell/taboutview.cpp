#include "shell/taboutview.h"

#include "shell/versiontext.h"
#include "shell/resourcetext.h"

#include <QApplication>
#include <QPainter>
#include <QPushButton>
#include <QTimer>

TAboutView::TAboutView(QWidget *parent)
    : QWidget(parent)
{
    updateButton = new QPushButton(tr("Check for updates"), this);
    updateButton->setGeometry(460, 310, 180, 40);
    updateButton->setStyleSheet(readFile(QStringLiteral(":/button_onekeybutton.css")));
    connect(updateButton, &QPushButton::clicked, this, &TAboutView::updateButtonClicked);
    // There is no update service to ask; the button stays out of sight.
    updateButton->setVisible(false);
}

// The check only shows "Checking ..." for a moment: nothing is asked of any server.
void TAboutView::updateButtonClicked()
{
    updateButton->setText(tr("Checking ..."));
    updateButton->setEnabled(false);
    QTimer::singleShot(100, this, &TAboutView::timeToUpdate);
}

void TAboutView::timeToUpdate()
{
    QTimer::singleShot(2000, this, &TAboutView::resetView);
}

void TAboutView::resetView()
{
    updateButton->setEnabled(true);
    updateButton->setText(tr("Check for updates"));
}

void TAboutView::paintEvent(QPaintEvent *)
{
    // The page is hidden at start; its picture is read when it is first shown.
    if (picture.isNull())
        picture.load(QStringLiteral(":/aboueme.png"));
    QPainter painter(this);
    if (!picture.isNull())
        painter.drawPixmap(rect(), picture);
    QFont font = QApplication::font();
    font.setPixelSize(14);
    painter.setFont(font);
    painter.setPen(QColor(192, 192, 192));
    painter.drawText(QRect(width() - 240, height() - 24, 240, 24), Qt::AlignCenter,
                     QStringLiteral("%1: %2").arg(tr("Version"), versionText()));
}
