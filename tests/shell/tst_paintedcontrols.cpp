#include "paintprobe.h"

#include "shell/appbutton.h"
#include "shell/menubutton.h"
#include "shell/tabbutton.h"
#include "shell/tbutton.h"
#include "shell/titlebutton.h"

#include <QFontMetrics>
#include <QTemporaryDir>
#include <QTest>

using PaintProbe::at;
using PaintProbe::boundsOf;
using PaintProbe::render;
using PaintProbe::solid;

namespace {

enum class State { Normal, Pressed, Disabled, PressedAndDisabled };

void applyState(QAbstractButton *button, State state)
{
    // Disabling releases a held button, so the press comes last.
    button->setEnabled(state == State::Normal || state == State::Pressed);
    button->setDown(state == State::Pressed || state == State::PressedAndDisabled);
}

// Colours that no control uses, so that a match is the picture we handed in.
const QColor kNormalPicture(10, 20, 30);
const QColor kPressedPicture(40, 160, 60);
const QColor kNormalBackground(200, 120, 20);
const QColor kSelectedBackground(20, 90, 170);

QByteArray describe(const QRect &r)
{
    return QStringLiteral("%1,%2 %3x%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()).toLatin1();
}

} // namespace

Q_DECLARE_METATYPE(State)

class TestPaintedControls : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void tButton_data();
    void tButton();
    void titleButton_data();
    void titleButton();
    void tabButton_data();
    void tabButton();
    void menuButton_data();
    void menuButton();
    void appButton_data();
    void appButton();

private:
    QTemporaryDir pictures;
};

void TestPaintedControls::initTestCase()
{
    QVERIFY(pictures.isValid());
    PaintProbe::useCrispFont();
}

void TestPaintedControls::tButton_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<QColor>("fill");
    QTest::newRow("normal") << State::Normal << QColor(125, 185, 216);
    QTest::newRow("pressed") << State::Pressed << QColor(140, 198, 42);
    QTest::newRow("disabled") << State::Disabled << QColor(220, 220, 220);
    QTest::newRow("pressed wins over disabled") << State::PressedAndDisabled << QColor(140, 198, 42);
}

void TestPaintedControls::tButton()
{
    QFETCH(State, state);
    QFETCH(QColor, fill);
    TButton button(QStringLiteral("Flash"));
    button.resize(120, 40);
    applyState(&button, state);

    const QImage image = render(&button);
    QCOMPARE(at(image, 0, 0), fill);
    QCOMPARE(at(image, 119, 39), fill);
    const QRect text = boundsOf(image, Qt::white);
    QVERIFY2(!text.isNull() && qAbs(text.center().x() - 60) <= 2 && qAbs(text.center().y() - 20) <= 3,
             describe(text));
}

void TestPaintedControls::titleButton_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<QSize>("pressedSize");
    QTest::addColumn<QColor>("fill");
    QTest::addColumn<QColor>("picture");
    QTest::addColumn<QRect>("pictureRect");

    const QColor blue(194, 229, 251);
    const QColor red(217, 93, 77);
    const QSize square(11, 11);
    QTest::newRow("normal") << State::Normal << square << blue << kNormalPicture << QRect(10, 7, 11, 11);
    QTest::newRow("pressed") << State::Pressed << square << red << kPressedPicture << QRect(10, 7, 11, 11);
    QTest::newRow("disabled") << State::Disabled << square << red << kPressedPicture << QRect(10, 7, 11, 11);
    // Placed by its own size, drawn at its partner's.
    QTest::newRow("pressed, pressed picture smaller") << State::Pressed << QSize(7, 5) << red << kPressedPicture
                                                      << QRect(12, 10, 11, 11);
}

void TestPaintedControls::titleButton()
{
    QFETCH(State, state);
    QFETCH(QSize, pressedSize);
    QFETCH(QColor, fill);
    QFETCH(QColor, picture);
    const QString normalPath = pictures.filePath("normal.png");
    const QString pressedPath = pictures.filePath("pressed.png");
    QVERIFY(solid(kNormalPicture, 11, 11).save(normalPath));
    QVERIFY(solid(kPressedPicture, pressedSize.width(), pressedSize.height()).save(pressedPath));
    TitleButton button(normalPath, pressedPath);
    button.resize(32, 25);
    applyState(&button, state);

    const QImage image = render(&button);
    QCOMPARE(at(image, 0, 0), fill);
    QCOMPARE(at(image, 31, 24), fill);
    QTEST(boundsOf(image, picture), "pictureRect");
    QVERIFY(boundsOf(image, picture == kNormalPicture ? kPressedPicture : kNormalPicture).isNull());
}

void TestPaintedControls::tabButton_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<QColor>("icon");
    QTest::addColumn<QColor>("textColour");
    QTest::newRow("normal") << State::Normal << kNormalBackground << kNormalPicture << QColor(86, 124, 142);
    QTest::newRow("pressed") << State::Pressed << kSelectedBackground << kPressedPicture << QColor(Qt::white);
    QTest::newRow("selected") << State::Disabled << kSelectedBackground << kPressedPicture << QColor(Qt::white);
}

void TestPaintedControls::tabButton()
{
    QFETCH(State, state);
    QFETCH(QColor, background);
    QFETCH(QColor, icon);
    QFETCH(QColor, textColour);
    TabButton tab;
    tab.setText(QStringLiteral("Download"));
    // Pictures of other sizes than their places show the scaling into the icon square.
    tab.tabIcon = solid(kNormalPicture, 20, 20);
    tab.selectedIcon = solid(kPressedPicture, 50, 50);
    tab.normalBackground = solid(kNormalBackground, 100, 70);
    tab.selectedBackground = solid(kSelectedBackground, 100, 70);
    tab.resize(100, 70);
    applyState(&tab, state);

    const QImage image = render(&tab);
    QCOMPARE(at(image, 0, 0), background);
    QCOMPARE(at(image, 99, 69), background);
    QCOMPARE(boundsOf(image, icon), QRect(32, 12, 36, 36));
    const QRect text = boundsOf(image, textColour);
    // Centred across, at the top of its band rather than centred in it.
    QVERIFY2(!text.isNull() && QRect(2, 50, 96, 20).contains(text) && qAbs(text.center().x() - 50) <= 2
                 && text.top() <= 55,
             describe(text));
}

void TestPaintedControls::menuButton_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<int>("indent");
    QTest::addColumn<bool>("withIcon");
    QTest::addColumn<bool>("grey");
    QTest::addColumn<QColor>("fill");
    QTest::addColumn<QColor>("textColour");
    QTest::addColumn<int>("textX");

    const QColor rest(233, 236, 238);
    const QColor chosen(125, 185, 216);
    const QColor black(Qt::black);
    QTest::newRow("flush left") << State::Normal << 0 << false << false << rest << black << 0;
    QTest::newRow("indent 1") << State::Normal << 1 << false << false << rest << black << 29;
    QTest::newRow("icon") << State::Normal << 0 << true << false << rest << black << 29;
    QTest::newRow("icon, indent 1") << State::Normal << 1 << true << false << rest << black << 58;
    QTest::newRow("grey heading") << State::Normal << 1 << false << true << rest << QColor(123, 123, 123) << 29;
    QTest::newRow("pressed") << State::Pressed << 0 << true << false << chosen << QColor(Qt::white) << 29;
    QTest::newRow("selected heading") << State::Disabled << 1 << false << true << chosen << QColor(Qt::white) << 29;
}

void TestPaintedControls::menuButton()
{
    QFETCH(State, state);
    QFETCH(int, indent);
    QFETCH(bool, withIcon);
    QFETCH(bool, grey);
    QFETCH(QColor, fill);
    QFETCH(QColor, textColour);
    QFETCH(int, textX);
    MenuButton row;
    row.setText(QStringLiteral("Linux"));
    row.indentLevel = indent;
    row.greyText = grey;
    if (withIcon)
        row.menuIcon = solid(kNormalPicture, 48, 48);
    row.resize(200, 32);
    applyState(&row, state);

    const QImage image = render(&row);
    QCOMPARE(at(image, 199, 0), fill);
    QCOMPARE(at(image, 199, 31), fill);
    QCOMPARE(boundsOf(image, kNormalPicture), withIcon ? QRect(0, 4, 24, 24) : QRect());
    const QRect text = boundsOf(image, textColour);
    // "L" starts within a glyph's side bearing of the caption's left edge, centred in height.
    QVERIFY2(!text.isNull() && text.left() >= textX && text.left() <= textX + 3 && QRect(0, 4, 200, 24).contains(text)
                 && qAbs(text.center().y() - 16) <= 3,
             describe(text));
}

void TestPaintedControls::appButton_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<State>("state");
    QTest::addColumn<QColor>("icon");
    QTest::addColumn<QColor>("textColour");
    QTest::addColumn<int>("shift");
    // A short name leaves the button as wide as its icon; a long one widens it.
    const QString shortName = QStringLiteral("Demo");
    const QString longName = QStringLiteral("A companion program with a long name");
    QTest::newRow("normal") << shortName << State::Normal << kNormalPicture << QColor(Qt::black) << 0;
    QTest::newRow("disabled looks normal") << shortName << State::Disabled << kNormalPicture << QColor(Qt::black) << 0;
    QTest::newRow("pressed") << shortName << State::Pressed << kPressedPicture << QColor(11, 152, 230) << 1;
    QTest::newRow("long name") << longName << State::Normal << kNormalPicture << QColor(Qt::black) << 0;
}

void TestPaintedControls::appButton()
{
    QFETCH(QString, name);
    QFETCH(State, state);
    QFETCH(QColor, icon);
    QFETCH(QColor, textColour);
    QFETCH(int, shift);

    AppButton button(name, solid(kNormalPicture, 80, 80), solid(kPressedPicture, 80, 80));
    AppButton idle(name, solid(kNormalPicture, 80, 80), solid(kPressedPicture, 80, 80));
    const QFontMetrics metrics(button.font());
    QCOMPARE(button.size(), QSize(qMax(64, metrics.horizontalAdvance(name)), metrics.ascent() + metrics.descent() + 69));
    applyState(&button, state);

    const QImage image = render(&button, Qt::yellow);
    // In a button as narrow as its icon the nudged icon loses its last column.
    const int iconX = (button.width() - 64) / 2;
    QCOMPARE(boundsOf(image, icon), QRect(iconX + shift, shift, 64, 64) & image.rect());

    const QRect text = boundsOf(image, textColour);
    const QRect idleText = boundsOf(render(&idle, Qt::yellow), Qt::black);
    QVERIFY(!text.isNull());
    QVERIFY(text.top() >= 69);
    QCOMPARE(text.top(), idleText.top());
    // The pressed caption is centred in a band one pixel further right and five wider,
    // which moves it by one or two pixels depending on rounding.
    const int moved = text.left() - idleText.left();
    QVERIFY2(shift ? moved >= 1 && moved <= 2 : moved == 0, qPrintable(QString::number(moved)));
}

QTEST_MAIN(TestPaintedControls)
#include "tst_paintedcontrols.moc"
