// The flashing pages inside the main window, in English at its 12 point default and in
// Chinese at 10 points, as a user sees them.

#include "app/globals.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/menubutton.h"
#include "shell/tmenu.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <memory>

namespace {

// The whole window in one language, a 4412 plugged in and an images folder chosen.
struct Window
{
    explicit Window(bool chinese)
    {
        savedFont = QApplication::font();
        QFont font = savedFont;
        font.setPointSize(chinese ? 10 : 12);
        QApplication::setFont(font);
        if (chinese && translator.load(QStringLiteral(OSTRAKIT_BUILT_QM)))
            QCoreApplication::installTranslator(&translator);
        gLanguage = chinese ? 1 : 0;

        window = std::make_unique<TMainWidget>();
        gUsbDevCommand->Stop();
        gUsbDevCommand->setTransport(std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412));
        tab = window->findChild<BurnSystemWidget *>();
        window->show();
        gUsbDevCommand->pollBoard(); // the pages show once a board is there

        QFile ini(dir.filePath("Velkaro.ini"));
        if (ini.open(QIODevice::WriteOnly))
            ini.write("Android-BootLoader = halvorn.bin\nWindowsCE6-Bootloader = halvorn.bin\nLinux-Kernel = halvorn.bin\n");
        QFile image(dir.filePath("halvorn.bin"));
        if (image.open(QIODevice::WriteOnly))
            image.write(QByteArray(3000, 'x'));
        gImagesPath = dir.path();
        tab->imagesPathUpdatedSlot();
    }
    ~Window()
    {
        window.reset();
        QCoreApplication::removeTranslator(&translator);
        QApplication::setFont(savedFont);
        gLanguage = 0;
        gImagesPath.clear();
    }

    // Shows the page of a view kind as the menu would.
    TConfigView *page(int kind)
    {
        static const char *const names[] = {"androidView", "linuxView", "winCEView", "nonOSViewRun",
                                            "nonOSViewInstall"};
        tab->switchView(QString::fromLatin1(names[kind]));
        TConfigView *view = tab->configView(kind);
        // The scroll area decides on its scroll bar in a posted layout request.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        return view && view->isVisible() ? view : nullptr;
    }

    QFont savedFont;
    QTranslator translator;
    QTemporaryDir dir;
    std::unique_ptr<TMainWidget> window;
    BurnSystemWidget *tab = nullptr;
};

QWidget *contentOf(TConfigView *page)
{
    return page->findChild<QScrollArea *>()->widget();
}

// What a caption needs, as its own widget measures it (style-sheet buttons: a few pixels of border).
int neededWidth(QWidget *w)
{
    if (auto *push = qobject_cast<QPushButton *>(w))
        return push->fontMetrics().horizontalAdvance(push->text()) + 6;
    if (qobject_cast<QCheckBox *>(w) || qobject_cast<QRadioButton *>(w) || qobject_cast<QLabel *>(w))
        return w->sizeHint().width();
    if (w->objectName() == QLatin1String("ramAddressEdit"))
        return static_cast<QLineEdit *>(w)->fontMetrics().horizontalAdvance(static_cast<QLineEdit *>(w)->text()) + 8;
    return 0;
}

} // namespace

class TestTConfigViewLayout : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layout_data()
    {
        QTest::addColumn<bool>("chinese");
        QTest::newRow("English") << false;
        QTest::newRow("Chinese") << true;
    }
    // On every page and in the menu (in both its status texts): nothing under the scroll bar,
    // no caption cut off.
    void layout()
    {
        QFETCH(bool, chinese);
        Window w(chinese);
        for (int kind = 0; kind <= 4; ++kind) {
            TConfigView *page = w.page(kind);
            QVERIFY(page);
            const int visibleWidth = page->findChild<QScrollArea *>()->viewport()->width();
            for (QWidget *child : contentOf(page)->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
                if (child->isHidden())
                    continue;
                const QString what = QStringLiteral("kind %1: %2").arg(kind).arg(child->property("text").toString());
                QVERIFY2(child->geometry().right() < visibleWidth, qPrintable(what));
                QVERIFY2(neededWidth(child) <= child->width(), qPrintable(what));
            }
        }
        for (bool connected : {true, false}) {
            w.tab->menu()->USBConnected(connected);
            for (MenuButton *row : w.tab->menu()->allButtons())
                QVERIFY2(row->fontMetrics().horizontalAdvance(row->text()) <= row->width() - row->textRect().x(), qPrintable(row->text()));
        }
    }
};

QTEST_MAIN(TestTConfigViewLayout)
#include "tst_tconfigviewlayout.moc"
