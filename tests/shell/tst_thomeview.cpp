#include "app/globals.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>

class TestTHomeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The description whole at 12 points in both languages, never covered by the connection
    // that follows it; a page naming pictures from outside the program loads none of them.
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
        QImage red(12, 12, QImage::Format_RGB32);
        red.fill(Qt::red);
        const QString picture = dir.filePath("picture.png");
        QVERIFY(red.save(picture));
        THomeView view;
        for (const QString &source : {"file://" + picture, picture, QStringLiteral(":/connect.png")}) {
            view.browser()->setHtml(QString("<img src=\"%1\"><table background=\"%1\"><tr><td>x</td></tr></table>").arg(source));
            view.browser()->document()->documentLayout()->documentSize();
            QCOMPARE(view.browser()->document()->resource(QTextDocument::ImageResource, QUrl(source)).isNull(), !source.startsWith(':'));
        }
    }
};

QTEST_MAIN(TestTHomeView)
#include "tst_thomeview.moc"
