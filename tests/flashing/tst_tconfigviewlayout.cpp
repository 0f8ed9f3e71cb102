// The flashing pages inside the main window, in English at its 12 point default and in
// Chinese at 10 points, as a user sees them.

#include "app/globals.h"
#include "app/userdialogs.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "flashing/tconfigview.h"
#include "shell/burnsystemwidget.h"
#include "shell/tmainwidget.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
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
        gUsbDevCommand->setTransport(board);
        tab = window->findChild<BurnSystemWidget *>();
        window->show();
        gUsbDevCommand->pollBoard();

        const QStringList images = {"halvorn.bin", "zImage", "ramdisk.img", "system.img", "userdata.img", "NK.bin",
                                    "logo.bmp"};
        for (const QString &name : images) {
            QFile file(dir.filePath(name));
            if (file.open(QIODevice::WriteOnly))
                file.write(QByteArray(3000, 'x'));
        }
        {
            QFile ini(dir.filePath("Velkaro.ini"));
            if (ini.open(QIODevice::WriteOnly))
                ini.write("Android-BootLoader = halvorn.bin\nAndroid-Kernel = zImage\nAndroid-RamDisk = ramdisk.img\n"
                          "Android-RootFs-InstallImage = system.img\nAndroid-UserData-8G = userdata.img\n"
                          "Linux-BootLoader = halvorn.bin\nLinux-Kernel = zImage\n"
                          "WindowsCE6-Bootloader = halvorn.bin\nWindowsCE6-BootLogo = logo.bmp\n"
                          "WindowsCE6-InstallImage = NK.bin\n");
        }
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
    std::shared_ptr<VirtualBoard> board = std::make_shared<VirtualBoard>(TUsbDevCommand::CPU_4412);
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
    // On every page: the background painted, nothing under the scroll bar, no caption cut off;
    // the progress and log in view while the first image goes out.
    void layout()
    {
        QFETCH(bool, chinese);
        Window w(chinese);
        for (int kind = 0; kind <= 4; ++kind) {
            TConfigView *page = w.page(kind);
            QVERIFY(page);
            const QLineEdit *field = page->findChildren<QLineEdit *>().first();
            const QPoint gap = contentOf(page)->mapTo(page, QPoint(300, field->geometry().bottom() + 3));
            QCOMPARE(page->grab().toImage().pixelColor(gap), QColor(246, 248, 249));
            const int visibleWidth = page->findChild<QScrollArea *>()->viewport()->width();
            for (QWidget *child : contentOf(page)->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
                if (child->isHidden())
                    continue;
                const QString what = QStringLiteral("kind %1: %2").arg(kind).arg(child->property("text").toString());
                QVERIFY2(child->geometry().right() < visibleWidth, qPrintable(what));
                QVERIFY2(neededWidth(child) <= child->width(), qPrintable(what));
            }
        }
        TConfigView *page = w.page(0);
        QWidget *viewport = page->findChild<QScrollArea *>()->viewport();
        auto inView = [viewport](QWidget *control) {
            return viewport->rect().contains(QRect(control->mapTo(viewport, QPoint(0, 0)), control->size()));
        };
        bool seen = false;
        QObject::connect(gUsbDevCommand, &TUsbDevCommand::SendCurrentPos, page, [&] {
            if (!seen)
                QVERIFY(inView(page->findChild<QProgressBar *>()) && inView(page->findChild<QTextEdit *>("logBox")));
            seen = true;
        });
        UserDialogs::setInformationHandler([](QWidget *, const QString &, const QString &text) { QFAIL(qPrintable(text)); });
        QTest::mouseClick(page->findChild<QPushButton *>("startButton"), Qt::LeftButton);
        QTRY_VERIFY(seen);
        QTRY_VERIFY(!page->isRunning());
        UserDialogs::setInformationHandler(nullptr);
    }
};

QTEST_MAIN(TestTConfigViewLayout)
#include "tst_tconfigviewlayout.moc"
