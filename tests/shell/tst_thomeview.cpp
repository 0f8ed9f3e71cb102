#include "app/globals.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QDir>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>

class TestTHomeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { gLanguage = 0; }

    // Help without a board, the description with one (never covered by the connection
    // that follows it), help again when it goes; whole at 12 points in both languages.
    void states()
    {
        const QFont appFont = QApplication::font();
        for (int language : {0, 1}) {
            gLanguage = language;
            QFont big = appFont;
            big.setPointSize(12);
            QApplication::setFont(big);
            THomeView view;
            view.resize(686, 621);
            ResourceOnlyBrowser *b = view.browser();
            QTextDocument *doc = b->document();
            view.USBConnected(false);
            QCOMPARE(b->source(), QUrl(language ? "qrc:/homeview-cn.html" : "qrc:/homeview.html"));
            const QString help = doc->toPlainText();
            view.show();
            QVERIFY(QTest::qWaitForWindowExposed(&view));
            QCOMPARE(b->verticalScrollBar()->maximum(), 0);

            view.USBNewDeviceAttached("Halvorn 2.6\nCPU: Exynos4412 Quad @ 1.4GHz\n<b>RAM:</b> 1024MB\nEMMC: 8GB");
            const QString info = doc->toPlainText();
            QVERIFY2(info.contains(language ? "开发板信息：" : "Development board information:"), qPrintable(info));
            QVERIFY(info.contains("CPU: Exynos4412 Quad @ 1.4GHz\nRAM: 1024MB\nEMMC: 8GB"));
            QCOMPARE(b->verticalScrollBar()->maximum(), 0);
            QApplication::setFont(appFont);
            view.USBConnected(true);
            QCOMPARE(doc->toPlainText(), info);
            view.USBConnected(false);
            QCOMPARE(doc->toPlainText(), help);
        }
        THomeView view;
        view.updateWebView(true, "Please wait while Ostrakit gathers H/W information...");
        QVERIFY(view.browser()->toPlainText().contains("Please wait while Ostrakit gathers H/W information..."));
    }

    // A page may name pictures and sheets; only the program's own are loaded.
    void foreignPicturesNotFetched()
    {
        QTemporaryDir dir;
        QImage red(12, 12, QImage::Format_RGB32);
        red.fill(Qt::red);
        const QString picture = dir.filePath("picture.png");
        QVERIFY(red.save(picture));
        const QString previous = QDir::currentPath();
        QDir::setCurrent(dir.path());
        THomeView view;
        for (const QString &source : {"file://" + picture, picture, QStringLiteral("picture.png"), QStringLiteral(":/connect.png")}) {
            // Board text never carries markup this far any more; the browser must hold on its own.
            view.browser()->setHtml(QString("<img src=\"%1\"><table background=\"%1\"><tr><td>x</td></tr></table>").arg(source));
            QTextDocument *doc = view.browser()->document();
            doc->documentLayout()->documentSize();
            const bool own = source.startsWith(':');
            QCOMPARE(doc->resource(QTextDocument::ImageResource, QUrl(source)).isNull(), !own);
            QCOMPARE(ResourceOnlyBrowser::isOwnResource(QUrl(source)), own);
        }
        QDir::setCurrent(previous);
    }
};

QTEST_MAIN(TestTHomeView)
#include "tst_thomeview.moc"
