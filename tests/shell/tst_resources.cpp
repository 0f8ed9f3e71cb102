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

const char* const collection[] = {
    "icon.png", "background.png", "background-cn.png",
    "close_normal.png", "close_clicked.png", "menu_normal.png", "menu_clicked.png",
    "mini_normal.png", "mini_clicked.png", "connected_icon.png", "disconnected_icon.png",
    "tabnormal.png", "tabnormal_1btn.png", "tabselected.png",
    "tabdownload_icon.png", "tabtools_icon.png", "serialport_icon.png",
    "tabdownload_icon_disable.png", "tabtools_icon_disabled.png", "serialport_icon_disabled.png",
    "wren210_icon.png", "android_logo.png", "wince_icon.png", "linux_logo.png", "nonos.png",
    "homeviewbackground.png", "homeviewbackground-cn.png", "viewbackground.png",
    "aboueme.png", "aboueme-cn.png",
    "homeview.html", "homeview-cn.html", "homeview_connected.html",
    "homeview_connected-cn.html", "version.html",
    "button.css", "button3.css", "button_browerbutton.css", "button_onekeybutton.css",
    "button_stop.css", "progressbar.css",
    "putty.png", "pellmark.png", "appdemo_icon64.png",
    "app-about.png", "connect.png", "loading.gif", "select.png", "unselect.png",
    "updatealert.png", "updatealert_background.png", "usbplugin.png", "usbunplugin.png",
    "warning.png",
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
    void everyFileIsInTheCollection_data();
    void everyFileIsInTheCollection();
    void picturesLoadAtTheirSizes_data();
    void picturesLoadAtTheirSizes();
    void loadingAnimationPlays();
    void styleSheetDeclarations_data();
    void styleSheetDeclarations();
    void styleSheetsPaintTheirColours_data();
    void styleSheetsPaintTheirColours();
    void pagesAreSelfContained_data();
    void pagesAreSelfContained();
    void helpPagesCarryTheSteps_data();
    void helpPagesCarryTheSteps();
    void connectedPagesHoldOnePlaceholder_data();
    void connectedPagesHoldOnePlaceholder();
    void readFileReturnsTheWholeText();
    void readFileOfAMissingFileIsEmpty_data();
    void readFileOfAMissingFileIsEmpty();
    void toNativePathSeparators_data();
    void toNativePathSeparators();
};

void TstResources::everyFileIsInTheCollection_data()
{
    QTest::addColumn<QString>("path");
    for (const char* name : collection)
        QTest::newRow(name) << resource(name);
}

void TstResources::everyFileIsInTheCollection()
{
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(path));
    QVERIFY(file.size() > 0);
}

void TstResources::picturesLoadAtTheirSizes_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QSize>("size"); // invalid: any size will do
    const QHash<QString, QSize> sizes = {
        {"background.png", {900, 723}}, {"background-cn.png", {900, 723}},
        {"close_normal.png", {11, 11}}, {"close_clicked.png", {11, 11}},
        {"menu_normal.png", {11, 11}}, {"menu_clicked.png", {11, 11}},
        {"mini_normal.png", {11, 11}}, {"mini_clicked.png", {11, 11}},
        {"tabnormal.png", {100, 70}}, {"tabnormal_1btn.png", {100, 70}},
        {"tabselected.png", {100, 70}},
        {"tabdownload_icon.png", {36, 36}}, {"tabtools_icon.png", {36, 36}},
        {"tabdownload_icon_disable.png", {36, 36}}, {"tabtools_icon_disabled.png", {36, 36}},
        {"serialport_icon_disabled.png", {36, 36}},
        {"homeviewbackground.png", {690, 554}}, {"homeviewbackground-cn.png", {690, 554}},
        {"viewbackground.png", {690, 561}},
        {"aboueme.png", {690, 607}}, {"aboueme-cn.png", {690, 607}},
        {"putty.png", {80, 80}}, {"pellmark.png", {256, 256}},
        // The status bar scales these without smoothing; anything but 12 x 12 would be
        // shown with dropped pixels.
        {"connected_icon.png", {12, 12}}, {"disconnected_icon.png", {12, 12}},
    };
    for (const char* name : collection) {
        const QString file = QLatin1String(name);
        if (file.endsWith(QLatin1String(".png")) || file.endsWith(QLatin1String(".gif")))
            QTest::newRow(name) << resource(name) << sizes.value(file);
    }
}

void TstResources::picturesLoadAtTheirSizes()
{
    QFETCH(QString, path);
    QFETCH(QSize, size);
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

void TstResources::loadingAnimationPlays()
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

void TstResources::styleSheetDeclarations_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QStringList>("declarations"); // "property: value"

    struct Row { const char* file; const char* selector; QStringList declarations; };
    const QString vGradient = "qlineargradient(x1: 0, y1: 0, x2: 0, y2: 1, stop: 0 %1, stop: 1 %2)";
    const Row rows[] = {
        {"button_browerbutton.css", "QPushButton",
         {"background: #7db9d8", "border-radius: 0px", "color: #ffffff", "border: 0px",
          "padding: 3px", "font-size: 10pt"}},
        {"button_browerbutton.css", "QPushButton:pressed", {"background: #8cc62a"}},
        {"button_browerbutton.css", "QPushButton:disabled", {"background: #cccccc"}},
        {"button_browerbutton.css", "QPushButton:hover", {"background: #8cc62a"}},
        {"button_onekeybutton.css", "QPushButton",
         {"background: #54b6f6", "border-radius: 0px", "color: #ffffff", "border: 0px",
          "padding: 5px", "font-size: 16pt"}},
        {"button_onekeybutton.css", "QPushButton:pressed", {"background: #8cc41d"}},
        {"button_onekeybutton.css", "QPushButton:disabled", {"background: #cccccc"}},
        {"button_onekeybutton.css", "QPushButton:hover", {"background: #99cc33"}},
        {"button_stop.css", "QPushButton",
         {"background: #ff4107", "border-radius: 0px", "color: #ffffff", "border: 0px",
          "padding: 5px", "font-size: 16pt"}},
        {"button_stop.css", "QPushButton:pressed", {"background: #ff6e60"}},
        {"button_stop.css", "QPushButton:disabled", {"background: #cccccc"}},
        {"button_stop.css", "QPushButton:hover", {"background: #ff6e60"}},
        {"button3.css", "QPushButton",
         {"background: #ebebeb", "border-radius: 3px", "color: #353535",
          "border: 1px solid #a0a197", "padding: 1px", "font-size: 10pt"}},
        {"button3.css", "QPushButton:pressed",
         {"background: " + vGradient.arg("#dadbde", "#f6f7fa"), "border: 1px solid #505050"}},
        {"button3.css", "QPushButton:hover", {"background: " + vGradient.arg("#dadbde", "#f6f7fa")}},
        {"button3.css", "QPushButton:disabled", {"color: #bbbbbb"}},
        {"button.css", "QPushButton",
         {"background: " + vGradient.arg("#7db011", "#548f1b"), "border-radius: 10px",
          "color: #ffffff", "border: 2px solid #428d1f", "padding: 5px", "font-size: 16pt"}},
        {"button.css", "QPushButton:pressed", {"background: " + vGradient.arg("#89b911", "#96ff2d")}},
        {"progressbar.css", "QProgressBar:horizontal",
         {"border: 1px solid #88c03b", "border-radius: 0px", "background: white",
          "padding: 0px", "text-align: right", "margin-right: 15ex"}},
        {"progressbar.css", "QProgressBar::chunk:horizontal",
         {"background: qlineargradient(x1: 0, y1: 0.5, x2: 1, y2: 0.5, stop: 0 #88c03b, stop: 1 #88c03b)"}},
    };
    for (const Row& row : rows)
        QTest::addRow("%s %s", row.file, row.selector)
            << resource(row.file) << QString::fromLatin1(row.selector) << row.declarations;
}

void TstResources::styleSheetDeclarations()
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
}

void TstResources::styleSheetsPaintTheirColours_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("pressed");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QColor>("fill");

    QTest::newRow("browse") << ":/button_browerbutton.css" << false << true << QColor("#7DB9D8");
    QTest::newRow("browse pressed") << ":/button_browerbutton.css" << true << true << QColor("#8CC62A");
    QTest::newRow("browse disabled") << ":/button_browerbutton.css" << false << false << QColor("#CCCCCC");
    QTest::newRow("one key") << ":/button_onekeybutton.css" << false << true << QColor("#54B6F6");
    QTest::newRow("one key pressed") << ":/button_onekeybutton.css" << true << true << QColor("#8CC41D");
    QTest::newRow("stop") << ":/button_stop.css" << false << true << QColor("#FF4107");
    QTest::newRow("stop pressed") << ":/button_stop.css" << true << true << QColor("#FF6E60");
    QTest::newRow("quick boot") << ":/button3.css" << false << true << QColor("#EBEBEB");
}

// Reading the text is not enough: a sheet Qt cannot parse is ignored without a word.
void TstResources::styleSheetsPaintTheirColours()
{
    QFETCH(QString, path);
    QFETCH(bool, pressed);
    QFETCH(bool, enabled);
    QFETCH(QColor, fill);

    QPushButton button;
    button.setStyleSheet(readFile(path));
    button.resize(120, 40);
    button.setDown(pressed);
    button.setEnabled(enabled);
    const QImage shot = button.grab().toImage();
    QCOMPARE(QColor(shot.pixel(60, 20)), fill);
}

void TstResources::pagesAreSelfContained_data()
{
    QTest::addColumn<QString>("path");
    for (const char* page : {"homeview.html", "homeview-cn.html", "homeview_connected.html",
                             "homeview_connected-cn.html", "version.html"})
        QTest::newRow(page) << resource(page);
}

void TstResources::pagesAreSelfContained()
{
    QFETCH(QString, path);
    const QString html = readFile(path);
    QVERIFY(html.startsWith(QLatin1String(
        "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Transitional//EN\"")));
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
}

void TstResources::helpPagesCarryTheSteps_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("redNote");

    QTest::newRow("English") << ":/homeview.html"
        << QStringList{"Before connect your board to PC please follow the steps below:",
                       "4412", "210", "6410", "Pellmark", "Halvorn", "images/Velkaro.ini",
                       "Connect board to PC：", "S2", "2440", "USB Mode: Connected", "Quick Boot"}
        << "Note: after the system is booted the USB connection will be disconnected";
    QTest::newRow("Chinese") << ":/homeview-cn.html"
        << QStringList{"将开发板连接到电脑之前", "4412", "210", "6410", "Pellmark", "Halvorn",
                       "images/Velkaro.ini", "连接开发板与电脑", "S2", "2440",
                       "USB Mode: Connected", "Quick Boot"}
        << "注意：系统启动后，USB 连接将会断开。";
}

void TstResources::helpPagesCarryTheSteps()
{
    QFETCH(QString, path);
    QFETCH(QStringList, texts);
    QFETCH(QString, redNote);

    QTextDocument doc;
    doc.setHtml(readFile(path));
    const QString plain = doc.toPlainText();
    for (const QString& text : texts)
        QVERIFY2(plain.contains(text), qPrintable(text));

    // "USB-Mode = yes" stands alone in its own yellow box.
    bool boxFound = false;
    for (QTextTable* table : tablesOf(doc.rootFrame())) {
        if (table->rows() != 1 || table->columns() != 1)
            continue;
        const QTextTableCell cell = table->cellAt(0, 0);
        if (cellText(cell).trimmed() == QLatin1String("USB-Mode = yes")) {
            QCOMPARE(table->format().background().color(), QColor("#ece7ad"));
            boxFound = true;
        }
    }
    QVERIFY(boxFound);

    QCOMPARE(colourOf(doc, redNote), QColor(Qt::red));
}

void TstResources::connectedPagesHoldOnePlaceholder_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("heading");
    QTest::newRow("English") << ":/homeview_connected.html" << "Development board information:";
    QTest::newRow("Chinese") << ":/homeview_connected-cn.html" << "开发板信息：";
}

void TstResources::connectedPagesHoldOnePlaceholder()
{
    QFETCH(QString, path);
    QFETCH(QString, heading);
    const QString html = readFile(path);
    QCOMPARE(html.count(QLatin1String("$HWINFO$")), 1);

    // The home view drops the board's lines in as they come, markup and all.
    QString filled = html;
    filled.replace(QLatin1String("$HWINFO$"), QLatin1String("CPU: 210<br>DRAM: <b>512M</b>"));
    QTextDocument doc;
    doc.setHtml(filled);
    const QString plain = doc.toPlainText();
    QVERIFY(plain.contains(heading));
    // One line per "<br>", and the markup rendered rather than shown.
    QVERIFY2(plain.contains(QStringLiteral("CPU: 210\nDRAM: 512M")), qPrintable(plain));
    QVERIFY(plain.contains(QLatin1String("Quick Boot")));
}

void TstResources::readFileReturnsTheWholeText()
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
}

void TstResources::readFileOfAMissingFileIsEmpty_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("missing resource") << ":/no-such-sheet.css";
    QTest::newRow("missing file") << "/nonexistent/ostrakit/settings.ini";
    QTest::newRow("empty path") << "";
    QTest::newRow("directory") << "/";
}

void TstResources::readFileOfAMissingFileIsEmpty()
{
    QFETCH(QString, path);
    const QString text = readFile(path);
    QVERIFY(text.isEmpty());
}

void TstResources::toNativePathSeparators_data()
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

void TstResources::toNativePathSeparators()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(::toNativePathSeparators(path), expected);
}

QTEST_MAIN(TstResources)
#include "tst_resources.moc"
