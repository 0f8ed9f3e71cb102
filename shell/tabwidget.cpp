#include "shell/tabwidget.h"

#include "shell/tabbutton.h"

#include <QPainter>
#include <QResizeEvent>

namespace {
constexpr int kTabWidth = 100;
constexpr int kTabHeight = 70;
}

TabWidget::TabWidget(QWidget *parent)
    : QWidget(parent)
{
    struct TabEntry {
        QString text;
        const char *icon;
        const char *normalBackground;
        const char *page;
    };
    const TabEntry entries[] = {
        {tr("Download"), ":/tabdownload_icon.png", ":/tabnormal_1btn.png", "burnSystem"},
        {tr("Serial Port"), ":/serialport_icon.png", ":/tabnormal.png", ""},
        {tr("Utilities"), ":/tabtools_icon.png", ":/tabnormal.png", "tools"},
    };
    const QPixmap selectedBackground(QStringLiteral(":/tabselected.png"));
    for (const TabEntry &entry : entries) {
        auto *tab = new TabButton(this);
        tab->setText(entry.text);
        tab->tabIcon = QPixmap(QString::fromLatin1(entry.icon));
        tab->selectedIcon = tab->tabIcon;
        tab->normalBackground = QPixmap(QString::fromLatin1(entry.normalBackground));
        tab->selectedBackground = selectedBackground;
        tab->firstTab = buttons.isEmpty();
        connect(tab, &TabButton::clicked, this, &TabWidget::btnClicked);
        buttons.append(tab);
        pageNames.append(QString::fromLatin1(entry.page));
    }
    buttons.first()->setEnabled(false);
    resize(kTabWidth * int(buttons.size()), kTabHeight);
}

void TabWidget::btnClicked()
{
    const int index = int(buttons.indexOf(qobject_cast<TabButton *>(sender())));
    if (index < 0)
        return;
    const QString &page = pageNames.at(index);
    if (page.isEmpty()) {
        Q_EMIT openSerialPortAss();
        return;
    }
    for (TabButton *tab : std::as_const(buttons))
        tab->setEnabled(tab != buttons.at(index));
    Q_EMIT switchTag(page);
}

void TabWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(233, 236, 238));
}

void TabWidget::resizeEvent(QResizeEvent *)
{
    for (int i = 0; i < buttons.size(); ++i)
        buttons.at(i)->setGeometry(kTabWidth * i, 0, kTabWidth, kTabHeight);
}
