#include "shell/resourcetext.h"

#include <QDirIterator>
#include <QImageReader>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class TstResources : public QObject
{
    Q_OBJECT
private slots:
    // Every picture decodes to something drawn; every page stays inside the program (the
    // page browser loads nothing from outside and runs no scripts).
    void collectionLoads()
    {
        const QRegularExpression outside(QStringLiteral("<script|\\bsrc\\s*=|\\bhref\\s*=|@import|url\\("),
                                         QRegularExpression::CaseInsensitiveOption);
        int pictures = 0;
        for (QDirIterator it(QStringLiteral(":/")); it.hasNext();) {
            const QString path = it.next();
            if (path.endsWith(QLatin1String(".png")) || path.endsWith(QLatin1String(".gif"))) {
                const QImage image = QImageReader(path).read();
                QVERIFY2(!image.isNull(), qPrintable(path));
                ++pictures;
            } else if (path.endsWith(QLatin1String(".html"))) {
                QVERIFY2(!outside.match(readFile(path)).hasMatch(), qPrintable(path));
            }
        }
        QVERIFY(pictures > 40);
        QCOMPARE(readFile(":/homeview_connected.html").count(QLatin1String("$HWINFO$")), 1);
        QCOMPARE(readFile(":/homeview_connected-cn.html").count(QLatin1String("$HWINFO$")), 1);
    }

    // A sheet Qt cannot parse is ignored without a word; the plain fills show it was read.
    void styleSheetsPaint()
    {
        const QList<QPair<const char *, QColor>> sheets = {{":/button_browerbutton.css", QColor("#7DB9D8")},
                                                          {":/button_onekeybutton.css", QColor("#54B6F6")},
                                                          {":/button_stop.css", QColor("#FF4107")}};
        for (const auto &[path, fill] : sheets) {
            QPushButton button;
            button.setStyleSheet(readFile(path));
            button.resize(120, 40);
            QCOMPARE(QColor(button.grab().toImage().pixel(60, 20)), fill);
        }
    }

    void textsAndPaths()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("page.html")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("first\r\n\xe5\xbc\x80\xe5\x8f\x91\r\nlast");
        file.close();
        QCOMPARE(readFile(file.fileName()), QStringLiteral("first\n开发\nlast"));
        QVERIFY(readFile(QStringLiteral(":/no-such-sheet.css")).isEmpty());
        QVERIFY(readFile(QStringLiteral("/")).isEmpty());

        const QStringList cases = {"C:\\images\\Android=C:/images/Android", "/media//sd//images/=/media/sd/images/",
                                   "\\\\server\\share=/server/share", "/media///images=/media//images", "a////b=a//b"};
        for (const QString &c : cases)
            QCOMPARE(toNativePathSeparators(c.section('=', 0, 0)), c.section('=', 1));
    }
};

QTEST_MAIN(TstResources)
#include "tst_resources.moc"
