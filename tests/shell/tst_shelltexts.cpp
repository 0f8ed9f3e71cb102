// What the download tab shows of a board and of the program's own resources: the status
// line, the board's markup (a picture, a table or anything else shows as the text it is
// and nothing leaks past the line), the home view, and the pictures, pages and sheets.

#include "app/globals.h"
#include "boardlink/boardtext.h"
#include "shell/boardstatus.h"
#include "shell/resourceonlybrowser.h"
#include "shell/resourcetext.h"
#include "shell/thomeview.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QImageReader>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

class TestShellTexts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The banner line is never shown, empty values are skipped, a value keeps its colons.
    void statusText()
    {
        QCOMPARE(BoardStatus::statusText(false, "x\nCPU: 4412"), QString("Board is not connected, or Halvorn is not in USB download mode"));
        for (const char *info : {"", "Halvorn 2.6: USB mode", "banner\nno colon here\n", "banner\nCPU:\nRAM:   \n"})
            QCOMPARE(BoardStatus::statusText(true, info), QString("Board connected."));
        QCOMPARE(BoardStatus::statusText(true, "Banner: hidden\r\nCPU: 4412\r\nLCD:\nRAM:  1024MB DDR3 \n\nClock: 1:2\n"),
                 QStringLiteral("Board connected ( 4412 / 1024MB DDR3 / 1:2 )"));
    }

    void boardMarkup_data()
    {
        QTest::addColumn<QString>("board");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("styled"); // fragments drawn bold ("b:" in front) or red
        const QString deepBold = QStringLiteral("<b>").repeated(192) + "z";
        QTest::newRow("own markup") << "<B>CPU</b>: <font color='red'>4412</font><br/>ok" << "CPU: 4412\nok" << QStringList{"b:CPU", "4412"};
        QTest::newRow("unclosed stops at the line's end") << "<b><font color=red>x" << "x" << QStringList{"b:x"};
        // Shown exactly as sent, so none of it can be longer than the board's line.
        for (const char *text : {"<img src='/dev/zero'><a href='file:/etc'>x</a>", "<font color=red size=99>a</font>",
                                 "<font color='/tmp/x'>a", "</b>&amp; a<b"})
            QTest::newRow(text) << QString(text) << QString(text) << QStringList();
        QTest::newRow("deep bold") << QStringLiteral("<b>").repeated(200) + "z" << deepBold << QStringList{"b:" + deepBold};
    }
    void boardMarkup()
    {
        QFETCH(QString, board);
        QFETCH(QString, text);
        // Followed by plain text, so that formatting leaking past the board's line shows.
        QTextDocument doc;
        doc.setHtml(BoardText::toSafeHtml(board) + QStringLiteral("<i>after</i>"));
        doc.size();
        QStringList shown;
        for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextCharFormat format = it.fragment().charFormat();
                if (format.fontWeight() >= QFont::Bold || format.foreground().color() == QColor(Qt::red))
                    shown << (format.fontWeight() >= QFont::Bold ? "b:" : "") + it.fragment().text();
            }
        }
        QTEST(shown, "styled");
        QCOMPARE(doc.toPlainText(), text + QStringLiteral("after"));
    }

    // The description whole at 12 points in both languages, never covered by the connection
    // that follows it; a page naming pictures from outside the program loads none of them.
    void homeView()
    {
        const QFont appFont = QApplication::font();
        for (int language : {0, 1}) {
            gLanguage = language;
            QFont big = appFont;
            big.setPointSize(12);
            QApplication::setFont(big);
            THomeView view;
            view.resize(686, 621);
            view.show();
            QVERIFY(QTest::qWaitForWindowExposed(&view));
            view.USBNewDeviceAttached("Halvorn 2.6\nCPU: Exynos4412 Quad @ 1.4GHz\n<b>RAM:</b> 1024MB\nEMMC: 8GB");
            const QString info = view.browser()->toPlainText();
            QVERIFY2(info.contains(language ? "开发板信息：" : "Development board information:"), qPrintable(info));
            QCOMPARE(view.browser()->verticalScrollBar()->maximum(), 0);
            QApplication::setFont(appFont);
            view.USBConnected(true);
            QCOMPARE(view.browser()->toPlainText(), info);
        }
        gLanguage = 0;

        QTemporaryDir dir;
        const QString picture = dir.filePath("picture.png");
        QVERIFY(QFile::copy(QStringLiteral(":/connect.png"), picture));
        THomeView view;
        for (const QString &source : {"file://" + picture, picture, QStringLiteral(":/connect.png")}) {
            view.browser()->setHtml(QString("<img src=\"%1\"><table background=\"%1\"><tr><td>x</td></tr></table>").arg(source));
            view.browser()->document()->documentLayout()->documentSize();
            QCOMPARE(view.browser()->document()->resource(QTextDocument::ImageResource, QUrl(source)).isNull(), !source.startsWith(':'));
        }
    }

    // Every picture decodes; every page stays inside the program (the page browser loads
    // nothing from outside and runs no scripts); a sheet Qt cannot parse would paint nothing.
    void resources()
    {
        const QRegularExpression outside(QStringLiteral("<script|\\bsrc\\s*=|\\bhref\\s*=|@import|url\\("),
                                         QRegularExpression::CaseInsensitiveOption);
        for (QDirIterator it(QStringLiteral(":/")); it.hasNext();) {
            const QString path = it.next();
            if (path.endsWith(QLatin1String(".png")) || path.endsWith(QLatin1String(".gif")))
                QVERIFY2(!QImageReader(path).read().isNull(), qPrintable(path));
            else if (path.endsWith(QLatin1String(".html")))
                QVERIFY2(!outside.match(readFile(path)).hasMatch(), qPrintable(path));
        }
        QPushButton button;
        button.setStyleSheet(readFile(":/button_stop.css"));
        button.resize(120, 40);
        QCOMPARE(QColor(button.grab().toImage().pixel(60, 20)), QColor("#FF4107"));
        for (const QString &c : QStringList{"C:\\images\\Android=C:/images/Android", "/media//sd//images/=/media/sd/images/",
                                            "\\\\server\\share=/server/share", "/media///images=/media//images"})
            QCOMPARE(toNativePathSeparators(c.section('=', 0, 0)), c.section('=', 1));
    }
};

QTEST_MAIN(TestShellTexts)
#include "tst_shelltexts.moc"
