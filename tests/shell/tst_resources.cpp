#include "shell/resourcetext.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>

namespace {

// Every file of the collection; pictures with the size they must have (none: any).
// The status bar scales the connection icons without smoothing: anything but 12 x 12 would
// be shown with dropped pixels.
const struct { const char* name; int width = -1, height = -1; } collection[] = {
    {"icon.png"}, {"background.png", 900, 723}, {"background-cn.png", 900, 723},
    {"close_normal.png", 11, 11}, {"close_clicked.png", 11, 11}, {"menu_normal.png", 11, 11},
    {"menu_clicked.png", 11, 11}, {"mini_normal.png", 11, 11}, {"mini_clicked.png", 11, 11},
    {"connected_icon.png", 12, 12}, {"disconnected_icon.png", 12, 12},
    {"tabnormal.png", 100, 70}, {"tabnormal_1btn.png", 100, 70}, {"tabselected.png", 100, 70},
    {"tabdownload_icon.png", 36, 36}, {"tabtools_icon.png", 36, 36}, {"serialport_icon.png"},
    {"tabdownload_icon_disable.png", 36, 36}, {"tabtools_icon_disabled.png", 36, 36},
    {"serialport_icon_disabled.png", 36, 36}, {"wren210_icon.png"}, {"android_logo.png"},
    {"wince_icon.png"}, {"linux_logo.png"}, {"nonos.png"}, {"homeviewbackground.png", 690, 554},
    {"homeviewbackground-cn.png", 690, 554}, {"viewbackground.png", 690, 621},
    {"aboueme.png", 690, 607}, {"aboueme-cn.png", 690, 607},
    {"homeview.html"}, {"homeview-cn.html"}, {"homeview_connected.html"},
    {"homeview_connected-cn.html"}, {"version.html"}, {"button.css"}, {"button3.css"},
    {"button_browerbutton.css"}, {"button_onekeybutton.css"}, {"button_stop.css"}, {"progressbar.css"},
    {"putty.png", 80, 80}, {"pellmark.png", 256, 256}, {"appdemo_icon64.png"}, {"app-about.png"},
    {"connect.png"}, {"loading.gif"}, {"select.png"}, {"unselect.png"}, {"updatealert.png"},
    {"updatealert_background.png"}, {"usbplugin.png"}, {"usbunplugin.png"}, {"warning.png"},
};

QString resource(const char* name)
{
    return QStringLiteral(":/") + QLatin1String(name);
}

// All text tables of a document, nested ones included.
QList<QTextTable*> tablesOf(QTextFrame* frame)
{
    QList<QTextTable*> tables;
    for (QTextFrame* child : frame->childFrames()) {
        if (auto* table = qobject_cast<QTextTable*>(child))
            tables.append(table);
        tables += tablesOf(child);
    }
    return tables;
}

QString cellText(const QTextTableCell& cell)
{
    QString text;
    for (auto it = cell.begin(); !it.atEnd(); ++it) {
        if (it.currentBlock().isValid())
            text += it.currentBlock().text();
    }
    return text;
}

// The colour a document shows `text` in, or an invalid colour if the text is not there.
QColor colourOf(const QTextDocument& doc, const QString& text)
{
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.text().contains(text))
                return fragment.charFormat().foreground().color();
        }
    }
    return QColor();
}

} // namespace

class TstResources : public QObject {
    Q_OBJECT

private slots:
    void everyFileIsInTheCollection_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QSize>("size"); // invalid: any size will do
        for (const auto& file : collection)
            QTest::newRow(file.name) << resource(file.name) << QSize(file.width, file.height);
    }

    void everyFileIsInTheCollection()
    {
        QFETCH(QString, path);
        QFETCH(QSize, size);
        QFile file(path);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
        QVERIFY(file.size() > 0);
        if (!path.endsWith(QLatin1String(".png")) && !path.endsWith(QLatin1String(".gif")))
            return;
        QImageReader reader(path);
        const QImage image = reader.read();
        QVERIFY2(!image.isNull(), qPrintable(reader.errorString()));
        if (size.isValid())
            QCOMPARE(image.size(), size);
        // A picture that came out blank would load fine; make sure something was drawn.
        const QRgb first = image.pixel(0, 0);
        bool varied = false;
        for (int y = 0; y < image.height() && !varied; ++y)
            for (int x = 0; x < image.width() && !varied; ++x)
                varied = image.pixel(x, y) != first;
        QVERIFY2(varied || path == ":/viewbackground.png", "picture is a single colour");
    }

    // The values are the sheets' own business; what must hold is that Qt parses each sheet
    // (a sheet it cannot parse is ignored without a word) and paints the plain fills.
    void styleSheetsPaint_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QColor>("fill");
        QTest::newRow("browse") << ":/button_browerbutton.css" << "normal" << QColor("#7DB9D8");
        QTest::newRow("browse, pressed") << ":/button_browerbutton.css" << "pressed" << QColor("#8CC62A");
        QTest::newRow("browse, disabled") << ":/button_browerbutton.css" << "disabled" << QColor("#CCCCCC");
        QTest::newRow("one key") << ":/button_onekeybutton.css" << "normal" << QColor("#54B6F6");
        QTest::newRow("one key, pressed") << ":/button_onekeybutton.css" << "pressed" << QColor("#8CC41D");
        QTest::newRow("stop") << ":/button_stop.css" << "normal" << QColor("#FF4107");
        QTest::newRow("stop, pressed") << ":/button_stop.css" << "pressed" << QColor("#FF6E60");
        QTest::newRow("quick boot") << ":/button3.css" << "normal" << QColor("#EBEBEB");
        QTest::newRow("progress chunk") << ":/progressbar.css" << "chunk" << QColor("#88C03B");
    }

    void styleSheetsPaint()
    {
        QFETCH(QString, path);
        QFETCH(QString, state);
        QFETCH(QColor, fill);
        const QString sheet = readFile(path);
        QVERIFY(!sheet.isEmpty());
        QImage image;
        if (state == QLatin1String("chunk")) {
            QProgressBar bar;
            bar.setStyleSheet(sheet);
            bar.resize(300, 25);
            bar.setValue(50);
            image = bar.grab().toImage();
            QCOMPARE(QColor(image.pixel(10, 12)), fill);
            // The rest of the groove is white.
            bool white = false;
            for (int x = 10; x < image.width() && !white; ++x)
                white = image.pixel(x, 12) == qRgb(255, 255, 255);
            QVERIFY(white);
            return;
        }
        QPushButton button;
        button.setStyleSheet(sheet);
        button.resize(120, 40);
        button.setDown(state == QLatin1String("pressed"));
        button.setEnabled(state != QLatin1String("disabled"));
        QCOMPARE(QColor(button.grab().toImage().pixel(60, 20)), fill);
    }

    // Help pages carry texts and a red note; connected pages a heading and the placeholder.
    void pages_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QString>("redNote");
        QTest::addColumn<QString>("heading");
        const QStringList common{"4412", "210", "6410", "Pellmark", "Halvorn", "images/Velkaro.ini", "S2", "2440",
                                 "USB Mode: Connected", "Quick Boot"};
        QTest::newRow("help") << ":/homeview.html"
            << common + QStringList{"Before connect your board to PC please follow the steps below:", "Connect board to PC："}
            << "Note: after the system is booted the USB connection will be disconnected" << "";
        QTest::newRow("help-cn") << ":/homeview-cn.html" << common + QStringList{"将开发板连接到电脑之前", "连接开发板与电脑"}
                                 << "注意：系统启动后，USB 连接将会断开。" << "";
        QTest::newRow("connected") << ":/homeview_connected.html" << QStringList{} << ""
                                   << "Development board information:";
        QTest::newRow("connected-cn") << ":/homeview_connected-cn.html" << QStringList{} << "" << "开发板信息：";
        QTest::newRow("version") << ":/version.html" << QStringList{} << "" << "";
    }

    void pages()
    {
        QFETCH(QString, path);
        QFETCH(QStringList, texts);
        QFETCH(QString, redNote);
        QFETCH(QString, heading);
        const QString html = readFile(path);
        QVERIFY(html.startsWith(QLatin1String("<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\"")));
        QVERIFY(html.contains(QLatin1String("charset=utf-8")));
        // The page browser loads nothing from outside and runs no scripts.
        const QRegularExpression outside(QStringLiteral("<script|\\bsrc\\s*=|\\bhref\\s*=|@import|url\\("),
                                         QRegularExpression::CaseInsensitiveOption);
        QVERIFY2(!outside.match(html).hasMatch(), qPrintable(outside.match(html).captured()));

        QTextDocument doc;
        doc.setHtml(html);
        QCOMPARE(doc.metaInformation(QTextDocument::DocumentTitle), QStringLiteral("Untitled Document"));
        QVERIFY(!tablesOf(doc.rootFrame()).isEmpty());
        QVERIFY(!doc.toPlainText().trimmed().isEmpty());
        for (const QString& text : texts)
            QVERIFY2(doc.toPlainText().contains(text), qPrintable(text));

        if (!redNote.isEmpty()) {
            QCOMPARE(colourOf(doc, redNote), QColor(Qt::red));
            // "USB-Mode = yes" stands alone in its own yellow box.
            bool boxFound = false;
            for (QTextTable* table : tablesOf(doc.rootFrame())) {
                if (table->rows() == 1 && table->columns() == 1
                    && cellText(table->cellAt(0, 0)).trimmed() == QLatin1String("USB-Mode = yes")) {
                    QCOMPARE(table->format().background().color(), QColor("#ece7ad"));
                    boxFound = true;
                }
            }
            QVERIFY(boxFound);
        }

        if (heading.isEmpty())
            return;
        // How the board's text is put in is the home view's test; here the one placeholder.
        QCOMPARE(html.count(QLatin1String("$HWINFO$")), 1);
        QVERIFY(doc.toPlainText().contains(heading));
        QVERIFY(doc.toPlainText().contains(QLatin1String("Quick Boot")));
    }

    void readFileReturnsTheWholeText()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString path = dir.filePath(QStringLiteral("page.html"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("first\r\n\xe5\xbc\x80\xe5\x8f\x91\xe6\x9d\xbf\r\nlast line without end");
        file.close();
        // Text mode: line ends come back as "\n"; the bytes are read as UTF-8.
        QCOMPARE(readFile(path), QStringLiteral("first\n开发板\nlast line without end"));

        QFile page(QStringLiteral(":/homeview-cn.html"));
        QVERIFY(page.open(QIODevice::ReadOnly | QIODevice::Text));
        QCOMPARE(readFile(QStringLiteral(":/homeview-cn.html")), QString::fromUtf8(page.readAll()));

        // Whatever cannot be read gives no text.
        for (const char *missing : {":/no-such-sheet.css", "/nonexistent/ostrakit/settings.ini", "", "/"})
            QVERIFY2(readFile(QString::fromLatin1(missing)).isEmpty(), missing);
    }

    void toNativePathSeparators_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("backslashes") << "C:\\images\\Android" << "C:/images/Android";
        QTest::newRow("doubled slashes") << "/media//sd//images/" << "/media/sd/images/";
        QTest::newRow("doubled backslashes") << "\\\\server\\share" << "/server/share";
        QTest::newRow("three slashes stay two") << "/media///images" << "/media//images";
        QTest::newRow("four slashes become two") << "a////b" << "a//b";
        QTest::newRow("empty") << "" << "";
    }

    void toNativePathSeparators()
    {
        QFETCH(QString, path);
        QTEST(::toNativePathSeparators(path), "expected");
    }
};

QTEST_MAIN(TstResources)
#include "tst_resources.moc"
