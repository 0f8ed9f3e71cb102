#include "shell/resourcetext.h"

#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QMovie>
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

// selector -> property -> value, all in lower case with single spaces.
using Sheet = QMap<QString, QMap<QString, QString>>;

Sheet parseSheet(const QString& text)
{
    Sheet sheet;
    const auto simplify = [](QString s) { return s.simplified().toLower(); };
    for (const QString& rule : text.split(QLatin1Char('}'), Qt::SkipEmptyParts)) {
        const int open = rule.indexOf(QLatin1Char('{'));
        if (open < 0)
            continue;
        const QString selector = simplify(rule.left(open));
        for (const QString& declaration : rule.mid(open + 1).split(QLatin1Char(';'))) {
            const int colon = declaration.indexOf(QLatin1Char(':'));
            if (colon < 0)
                continue;
            sheet[selector][simplify(declaration.left(colon))] = simplify(declaration.mid(colon + 1));
        }
    }
    return sheet;
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

    void loadingAnimationPlays()
    {
        QMovie movie(QStringLiteral(":/loading.gif"));
        QVERIFY(movie.isValid());
        QVERIFY(movie.frameCount() > 1);
        QVERIFY(movie.jumpToFrame(0));
        const QImage first = movie.currentImage();
        QVERIFY(movie.jumpToFrame(1));
        QCOMPARE(movie.currentImage().size(), first.size());
        QVERIFY(movie.currentImage() != first);
        QVERIFY(movie.nextFrameDelay() > 0);
    }

    void styleSheetDeclarations_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QStringList>("declarations"); // "property: value"

        const auto row = [](const char* file, const char* selector, const QStringList& declarations) {
            QTest::addRow("%s %s", file, selector) << resource(file) << QString::fromLatin1(selector) << declarations;
        };
        // The three flat buttons differ in their colours, padding and font size only.
        const auto flat = [&](const char* file, QString fill, QString padding, QString font, QString pressed,
                              QString hover) {
            row(file, "QPushButton", {"background: " + fill, "border-radius: 0px", "color: #ffffff", "border: 0px",
                                      "padding: " + padding, "font-size: " + font});
            row(file, "QPushButton:pressed", {"background: " + pressed});
            row(file, "QPushButton:disabled", {"background: #cccccc"});
            row(file, "QPushButton:hover", {"background: " + hover});
        };
        flat("button_browerbutton.css", "#7db9d8", "3px", "10pt", "#8cc62a", "#8cc62a");
        flat("button_onekeybutton.css", "#54b6f6", "5px", "16pt", "#8cc41d", "#99cc33");
        flat("button_stop.css", "#ff4107", "5px", "16pt", "#ff6e60", "#ff6e60");

        const QString vGradient = "qlineargradient(x1: 0, y1: 0, x2: 0, y2: 1, stop: 0 %1, stop: 1 %2)";
        row("button3.css", "QPushButton", {"background: #ebebeb", "border-radius: 3px", "color: #353535",
                                           "border: 1px solid #a0a197", "padding: 1px", "font-size: 10pt"});
        row("button3.css", "QPushButton:pressed",
            {"background: " + vGradient.arg("#dadbde", "#f6f7fa"), "border: 1px solid #505050"});
        row("button3.css", "QPushButton:hover", {"background: " + vGradient.arg("#dadbde", "#f6f7fa")});
        row("button3.css", "QPushButton:disabled", {"color: #bbbbbb"});
        row("button.css", "QPushButton", {"background: " + vGradient.arg("#7db011", "#548f1b"), "border-radius: 10px",
                                          "color: #ffffff", "border: 2px solid #428d1f", "padding: 5px",
                                          "font-size: 16pt"});
        row("button.css", "QPushButton:pressed", {"background: " + vGradient.arg("#89b911", "#96ff2d")});
        row("progressbar.css", "QProgressBar:horizontal",
            {"border: 1px solid #88c03b", "border-radius: 0px", "background: white", "padding: 0px",
             "text-align: right", "margin-right: 15ex"});
        row("progressbar.css", "QProgressBar::chunk:horizontal",
            {"background: qlineargradient(x1: 0, y1: 0.5, x2: 1, y2: 0.5, stop: 0 #88c03b, stop: 1 #88c03b)"});
    }

    void styleSheetDeclarations()
    {
        QFETCH(QString, path);
        QFETCH(QString, selector);
        QFETCH(QStringList, declarations);
        const Sheet sheet = parseSheet(readFile(path));
        const QString key = selector.toLower();
        QVERIFY2(sheet.contains(key), qPrintable(selector));
        const QMap<QString, QString> properties = sheet.value(key);
        for (const QString& declaration : declarations) {
            const QString property = declaration.section(QLatin1Char(':'), 0, 0).trimmed();
            const QString value = declaration.section(QLatin1Char(':'), 1).simplified().toLower();
            QVERIFY2(properties.contains(property), qPrintable(property));
            QCOMPARE(properties.value(property), value);
        }
        // Nothing beyond what is listed: a stray property would change every button.
        QCOMPARE(properties.size(), declarations.size());

        // Reading the text is not enough: a sheet Qt cannot parse is ignored without a word, so
        // each plain button fill is also painted.
        const QString fill = properties.value(QStringLiteral("background"));
        const bool pressed = key.endsWith(QLatin1String(":pressed")), disabled = key.endsWith(QLatin1String(":disabled"));
        if (!fill.startsWith(QLatin1Char('#')) || !(key == "qpushbutton" || pressed || disabled))
            return;
        QPushButton button;
        button.setStyleSheet(readFile(path));
        button.resize(120, 40);
        button.setDown(pressed);
        button.setEnabled(!disabled);
        QCOMPARE(QColor(button.grab().toImage().pixel(60, 20)), QColor(fill));
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
        QCOMPARE(html.count(QLatin1String("$HWINFO$")), 1);
        // The home view drops the board's lines in as they come, markup and all: one line
        // per "<br>", the markup rendered rather than shown.
        doc.setHtml(QString(html).replace(QLatin1String("$HWINFO$"), QLatin1String("CPU: 210<br>DRAM: <b>512M</b>")));
        const QString plain = doc.toPlainText();
        QVERIFY(plain.contains(heading));
        QVERIFY2(plain.contains(QStringLiteral("CPU: 210\nDRAM: 512M")), qPrintable(plain));
        QVERIFY(plain.contains(QLatin1String("Quick Boot")));
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
        QTest::newRow("already clean") << "/media/sd/images" << "/media/sd/images";
        QTest::newRow("backslashes") << "C:\\images\\Android" << "C:/images/Android";
        QTest::newRow("doubled slashes") << "/media//sd//images/" << "/media/sd/images/";
        QTest::newRow("doubled backslashes") << "\\\\server\\share" << "/server/share";
        QTest::newRow("mixed into a double") << "/media\\/images" << "/media/images";
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
