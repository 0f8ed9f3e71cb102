// The flashing pages as the user sees them inside the main window, in English at its
// 12 point default and in Chinese at 10 points: painted background, nothing under the
// scroll bar, no caption cut off, the progress and log in view during a run.

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

QWidget *viewportOf(TConfigView *page)
{
    return page->findChild<QScrollArea *>()->viewport();
}

// What a caption needs, as its own widget measures it.
int neededWidth(QWidget *w)
{
    if (auto *push = qobject_cast<QPushButton *>(w)) {
        // Style-sheet buttons: the caption and a few pixels of border and padding.
        return push->fontMetrics().horizontalAdvance(push->text()) + 6;
    }
    if (qobject_cast<QCheckBox *>(w) || qobject_cast<QRadioButton *>(w) || qobject_cast<QLabel *>(w))
        return w->sizeHint().width();
    if (auto *edit = qobject_cast<QLineEdit *>(w))
        return edit->fontMetrics().horizontalAdvance(edit->text()) + 8;
    return 0;
}

void addRows()
{
    QTest::addColumn<bool>("chinese");
    QTest::addColumn<int>("kind");
    for (bool chinese : {false, true}) {
        for (int kind = 0; kind <= 4; ++kind)
            QTest::addRow("%s, kind %d", chinese ? "Chinese" : "English", kind) << chinese << kind;
    }
}

} // namespace

class TestTConfigViewLayout : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void backgroundIsPainted_data() { addRows(); }
    void backgroundIsPainted()
    {
        QFETCH(bool, chinese);
        QFETCH(int, kind);
        Window w(chinese);
        TConfigView *page = w.page(kind);
        QVERIFY(page);
        // Between the first image's field and the next row nothing stands on the picture.
        const QLineEdit *field = page->findChildren<QLineEdit *>().first();
        const QPoint gap = contentOf(page)->mapTo(page, QPoint(300, field->geometry().bottom() + 3));
        const QImage shot = page->grab().toImage();
        QCOMPARE(shot.pixelColor(gap), QColor(246, 248, 249));
    }

    void nothingUnderTheScrollBar_data() { addRows(); }
    void nothingUnderTheScrollBar()
    {
        QFETCH(bool, chinese);
        QFETCH(int, kind);
        Window w(chinese);
        TConfigView *page = w.page(kind);
        QVERIFY(page);
        const int visibleWidth = viewportOf(page)->width();
        for (QWidget *child : contentOf(page)->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
            if (!child->isHidden())
                QVERIFY2(child->geometry().right() < visibleWidth,
                         qPrintable(QStringLiteral("%1 \"%2\" ends at %3 of %4")
                                        .arg(QLatin1String(child->metaObject()->className()),
                                             child->property("text").toString())
                                        .arg(child->geometry().right())
                                        .arg(visibleWidth)));
        }
    }

    void captionsFit_data() { addRows(); }
    void captionsFit()
    {
        QFETCH(bool, chinese);
        QFETCH(int, kind);
        Window w(chinese);
        TConfigView *page = w.page(kind);
        QVERIFY(page);
        for (QWidget *child : contentOf(page)->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
            // Image paths are as long as they are; the fields scroll.
            if (child->isHidden() || (qobject_cast<QLineEdit *>(child) && child->objectName() != "ramAddressEdit"))
                continue;
            QVERIFY2(neededWidth(child) <= child->width(),
                     qPrintable(QStringLiteral("%1 \"%2\" needs %3, has %4")
                                    .arg(QLatin1String(child->metaObject()->className()),
                                         child->property("text").toString())
                                    .arg(neededWidth(child))
                                    .arg(child->width())));
        }
        // A caption beside a field ends before the field begins.
        if (auto *address = page->findChild<QLineEdit *>("ramAddressEdit")) {
            for (QLabel *label : contentOf(page)->findChildren<QLabel *>(Qt::FindDirectChildrenOnly)) {
                if (label->geometry().top() != address->geometry().top())
                    continue;
                QVERIFY(label->geometry().right() < address->geometry().left());
                // and its "0x" leads straight into the field.
                QVERIFY(address->geometry().left() - (label->x() + label->sizeHint().width()) <= 8);
            }
        }
    }

    void runInView_data()
    {
        QTest::addColumn<bool>("chinese");
        QTest::addColumn<int>("kind");
        for (bool chinese : {false, true}) {
            for (int kind = 0; kind <= 2; ++kind)
                QTest::addRow("%s, kind %d", chinese ? "Chinese" : "English", kind) << chinese << kind;
        }
    }
    void runInView()
    {
        QFETCH(bool, chinese);
        QFETCH(int, kind);
        Window w(chinese);
        TConfigView *page = w.page(kind);
        QVERIFY(page);
        QWidget *viewport = viewportOf(page);
        auto inView = [viewport](QWidget *control) {
            return viewport->rect().contains(QRect(control->mapTo(viewport, QPoint(0, 0)), control->size()));
        };
        // Looked at while the first image is on its way.
        int looks = 0;
        bool progressSeen = false;
        bool logSeen = false;
        QObject::connect(gUsbDevCommand, &TUsbDevCommand::SendCurrentPos, page, [&] {
            if (looks++ == 0) {
                progressSeen = inView(page->findChild<QProgressBar *>());
                logSeen = inView(page->findChild<QTextEdit *>("logBox"));
            }
        });
        QStringList boxes;
        UserDialogs::setInformationHandler([&boxes](QWidget *, const QString &, const QString &text) { boxes << text; });
        QTest::mouseClick(page->findChild<QPushButton *>("startButton"), Qt::LeftButton);
        QTRY_VERIFY2(looks > 0, qPrintable(boxes.join(" / ")));
        UserDialogs::setInformationHandler(nullptr);
        QVERIFY(progressSeen);
        QVERIFY(logSeen);
        QTRY_VERIFY(!page->isRunning());
    }
};

QTEST_MAIN(TestTConfigViewLayout)
#include "tst_tconfigviewlayout.moc"
