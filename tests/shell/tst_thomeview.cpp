#include "app/globals.h"
#include "shell/resourceonlybrowser.h"
#include "shell/thomeview.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>

namespace {

QImage redSquare()
{
    QImage image(12, 12, QImage::Format_RGB32);
    image.fill(Qt::red);
    return image;
}

QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// Sizes of every picture the document laid out, in document order.
QList<QSizeF> laidOutPictures(QTextDocument *doc)
{
    QList<QSizeF> sizes;
    for (QTextBlock block = doc->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().isImageFormat()) {
                QAbstractTextDocumentLayout *layout = doc->documentLayout();
                sizes.append(layout->handlerForObject(QTextFormat::ImageObject)
                                 ->intrinsicSize(doc, fragment.position(), fragment.charFormat()));
            }
        }
    }
    return sizes;
}

} // namespace

class TestTHomeView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { gLanguage = 0; }

    void states_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("helpPage");
        QTest::addColumn<QString>("infoHeading");
        QTest::newRow("English") << 0 << "qrc:/homeview.html" << "Development board information:";
        QTest::newRow("Chinese") << 1 << "qrc:/homeview-cn.html" << "开发板信息：";
    }

    void states()
    {
        QFETCH(int, language);
        QFETCH(QString, helpPage);
        QFETCH(QString, infoHeading);
        gLanguage = language;
        THomeView view;
        QTextDocument *doc = view.browser()->document();

        view.USBConnected(false);
        QCOMPARE(view.browser()->source(), QUrl(helpPage));
        const QString help = doc->toPlainText();
        QVERIFY(!help.trimmed().isEmpty());
        QVERIFY(!help.contains(infoHeading));

        // What the download tab shows when a board is already there at start.
        view.updateWebView(true, "Please wait while Ostrakit gathers H/W information...");
        QVERIFY(doc->toPlainText().contains("Please wait while Ostrakit gathers H/W information..."));
        QVERIFY(doc->toPlainText().contains(infoHeading));

        view.USBNewDeviceAttached("CPU: 4412\nEMMC: 8GB\nDDR: 1GB");
        const QString info = doc->toPlainText();
        QVERIFY(info.contains(infoHeading));
        QVERIFY(!info.contains("Please wait"));
        QVERIFY(!info.contains("$HWINFO$"));
        // Markup folds a bare newline into a blank; only the "<br>"s keep one line per entry.
        QVERIFY2(info.contains("CPU: 4412\nEMMC: 8GB\nDDR: 1GB"), qPrintable(info));
        // The board link describes the board before the views hear of the connection;
        // hearing of it must not cover the description.
        view.USBConnected(true);
        QCOMPARE(doc->toPlainText(), info);

        view.USBConnected(false);
        QCOMPARE(doc->toPlainText(), help);
    }

    void pagesFitTheirBox_data()
    {
        QTest::addColumn<int>("language");
        QTest::addColumn<bool>("connected");
        QTest::newRow("English help") << 0 << false;
        QTest::newRow("English information") << 0 << true;
        QTest::newRow("Chinese help") << 1 << false;
        QTest::newRow("Chinese information") << 1 << true;
    }

    // At the English default of 12 points the pages must still show whole: the box sits
    // over a fixed picture and nobody looks for a scroll bar there.
    void pagesFitTheirBox()
    {
        QFETCH(int, language);
        QFETCH(bool, connected);
        const QFont appFont = QApplication::font();
        QFont big = appFont;
        big.setPointSize(12);
        QApplication::setFont(big);
        gLanguage = language;
        THomeView view;
        view.resize(686, 621);
        view.updateWebView(connected, "Halvorn 2.6\nCPU: Exynos4412 Quad @ 1.4GHz\nRAM: 1024MB DDR3\nEMMC: 8GB");
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        ResourceOnlyBrowser *b = view.browser();
        QApplication::setFont(appFont);
        QCOMPARE(b->verticalScrollBar()->maximum(), 0);
        QCOMPARE(b->horizontalScrollBar()->maximum(), 0);
        // The page's last words, as laid out, lie inside the box.
        QTextDocument *doc = b->document();
        QTextBlock last = doc->lastBlock();
        while (last.isValid() && last.text().trimmed().isEmpty())
            last = last.previous();
        QVERIFY(last.isValid());
        const QRectF where = doc->documentLayout()->blockBoundingRect(last);
        QVERIFY2(where.bottom() <= b->viewport()->height() && where.right() <= b->viewport()->width(),
                 qPrintable(QStringLiteral("%1 ends at %2,%3").arg(last.text()).arg(where.right()).arg(where.bottom())));
    }

    void boardMarkupIsRendered()
    {
        THomeView view;
        view.USBNewDeviceAttached("<b>CPU:</b> 4412\n<i>plain</i>");
        QTextDocument *doc = view.browser()->document();
        int boldCpu = 0;
        int boldNumber = 0;
        for (QTextBlock block = doc->begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextFragment fragment = it.fragment();
                const bool bold = fragment.charFormat().fontWeight() >= QFont::Bold;
                if (fragment.text() == "CPU:" && bold)
                    ++boldCpu;
                if (fragment.text().contains("4412") && bold)
                    ++boldNumber;
            }
        }
        QCOMPARE(boldCpu, 1);
        QCOMPARE(boldNumber, 0);
        QVERIFY(!doc->toPlainText().contains("<b>"));
    }

    void ownPicturesLoad_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("qrc") << "qrc:/connect.png";
        QTest::newRow("colon") << ":/connect.png";
    }

    // The counterpart of the test below: the guard must not block what the program ships.
    void ownPicturesLoad()
    {
        QFETCH(QString, source);
        THomeView view;
        view.browser()->setHtml(QString("<img src=\"%1\">").arg(source));
        QTextDocument *doc = view.browser()->document();
        QCOMPARE(laidOutPictures(doc), QList<QSizeF>{QSizeF(QImage(":/connect.png").size())});
        QVERIFY(!doc->resource(QTextDocument::ImageResource, QUrl(source)).isNull());
    }

    void foreignPicturesNotFetched_data()
    {
        // $PICTURE$ is a real PNG file in the working folder, $CSS$ a real style sheet;
        // "plain" tells whether an unguarded QTextBrowser shows the picture, so that the
        // row is known to name something loadable.
        QTest::addColumn<QString>("form");
        QTest::addColumn<bool>("plain");
        QTest::newRow("file URL") << "file://$PICTURE$" << true;
        QTest::newRow("absolute path") << "$PICTURE$" << true;
        QTest::newRow("relative path") << "picture.png" << true;
        QTest::newRow("http") << "http://127.0.0.1:9/picture.png" << false;
        QTest::newRow("data URL") << "data:image/png;base64,$BASE64$" << false;
        QTest::newRow("style sheet") << "<link rel=\"stylesheet\" href=\"file://$CSS$\">" << false;
        QTest::newRow("background") << "<table background=\"$PICTURE$\"><tr><td>x</td></tr></table>" << false;
    }

    void foreignPicturesNotFetched()
    {
        QFETCH(QString, form);
        QFETCH(bool, plain);
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString picture = dir.filePath("picture.png");
        QVERIFY(redSquare().save(picture));
        const QString css = dir.filePath("evil.css");
        {
            QFile file(css);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("b { color: red; font-size: 80pt; }");
        }
        // A relative name would otherwise be found beside the working folder.
        const QString previous = QDir::currentPath();
        QDir::setCurrent(dir.path());
        const QString reference = QString(form)
                                      .replace("$PICTURE$", picture)
                                      .replace("$BASE64$", QString::fromLatin1(pngBytes(redSquare()).toBase64()))
                                      .replace("$CSS$", css);
        const QString text = reference.startsWith('<') ? reference + "<b>bold</b>"
                                                       : QString("<img src=\"%1\">").arg(reference);

        if (plain) {
            QTextBrowser unguarded;
            unguarded.setHtml(text);
            QCOMPARE(laidOutPictures(unguarded.document()), QList<QSizeF>{QSizeF(12, 12)});
        }

        THomeView view;
        view.USBNewDeviceAttached(text);
        QTextDocument *doc = view.browser()->document();
        view.browser()->resize(660, 395);
        doc->documentLayout()->documentSize();
        QDir::setCurrent(previous);

        for (const QSizeF &size : laidOutPictures(doc))
            QVERIFY2(size != QSizeF(12, 12), "a picture from outside the program was shown");
        const QString url = QString(reference).remove(QRegularExpression("^.*(href|background|src)=\"|\".*$"));
        QVERIFY(doc->resource(QTextDocument::ImageResource, QUrl(url)).isNull());
        QVERIFY(doc->resource(QTextDocument::StyleSheetResource, QUrl(url)).isNull());
        QVERIFY(!ResourceOnlyBrowser::isOwnResource(QUrl(url)));
        for (QTextBlock block = doc->begin(); block.isValid(); block = block.next())
            for (auto it = block.begin(); !it.atEnd(); ++it)
                QVERIFY2(it.fragment().charFormat().fontPointSize() < 80, "a foreign style sheet was applied");
    }
};

QTEST_MAIN(TestTHomeView)
#include "tst_thomeview.moc"
