#include "shell/resourcetext.h"

#include <QDirIterator>
#include <QImageReader>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>

class TstResources : public QObject
{
    Q_OBJECT
private slots:
    // Every picture decodes; every page stays inside the program (the page browser loads
    // nothing from outside and runs no scripts); a sheet Qt cannot parse would paint nothing.
    void collectionLoads()
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
        const QStringList cases = {"C:\\images\\Android=C:/images/Android", "/media//sd//images/=/media/sd/images/",
                                   "\\\\server\\share=/server/share", "/media///images=/media//images"};
        for (const QString &c : cases)
            QCOMPARE(toNativePathSeparators(c.section('=', 0, 0)), c.section('=', 1));
    }
};

QTEST_MAIN(TstResources)
#include "tst_resources.moc"
