#pragma once

#include "boardlink/tusbdevcommand.h"
#include "flashing/configpage.h"

#include <QList>
#include <QPair>
#include <QString>

#include <optional>

// The value of the first "key = value" line of the description file whose key is exactly
// `key`. An unreadable file, a missing key and an empty value all give an empty string:
// to the pages they all mean "no value".
QString readVelkaroIniKeyValue(const QString &iniFilePath, const QString &key);

// Everything else the pages take from an images folder and its "Velkaro.ini".
namespace VelkaroIni {

// The key lines of one description file, read once. Makers write the file in UTF-8 or,
// on their Chinese discs, in GB18030 (GBK is part of it); bytes that are not valid UTF-8
// are taken as GB18030. Only a regular file is read: a FIFO or a device named
// "Velkaro.ini" would block the window or never end.
class Contents
{
public:
    static Contents read(const QString &iniFile);
    static QString decode(const QByteArray &bytes);

    // The value of the first line with this key; empty when there is none.
    QString value(const QString &key) const;
    // Whether any key that names an image file has a value. A file that names none
    // (empty, garbage, unreadable, a folder) would silently clear every field.
    bool namesAnImage() const;

private:
    QList<QPair<QString, QString>> lines; // key and value of every key line, in file order
};

// Said in the page's log when a page is filled from a file that names no image.
QString namesNoImageMessage(const QString &iniFile);

inline const QString kFileName = QStringLiteral("Velkaro.ini");
inline const QString kDefaultUserDataKey = QStringLiteral("Android-UserData");

// An images folder with the description file in it. Both are empty when there is none.
struct ImageSet
{
    QString folder;
    QString iniFile;
    bool isValid() const { return !iniFile.isEmpty(); }
};

// `folder` + "/Velkaro.ini".
QString iniFileIn(const QString &folder);

// The set the program ships next to itself, used when a page is made. `programFolder` is
// the application directory without a trailing separator. The folder keeps a trailing "/",
// so fields show "images//file"; harmless, and what users of the program have seen so far.
ImageSet programImageSet(const QString &programFolder);

// The folder the user chose (gImagesPath), when it holds a description file.
ImageSet chosenImageSet(const QString &imagesPath);

// Where the user-data image is looked up after a board is attached: the chosen folder
// first, then the program's own.
ImageSet userDataImageSet(const QString &imagesPath, const QString &programFolder);

// Whether a folder picked in the folder dialog can become the images folder.
bool isImagesFolder(const QString &folder);
// The refusal shown when it cannot.
QString notAnImagesFolderMessage();

// The text of a file field for a value read from the description file: nothing for an
// empty value, else the folder and the file name.
QString fieldText(const QString &imagesFolder, const QString &value);

// Only a first letter "Y" or "y" asks for a low format; any other word leaves it off.
bool lowFormatFromValue(const QString &value);

// What an "LCD-Type" value does to the HDMI check box and the resolution combo box.
struct LcdTypeChoice
{
    enum Action {
        KeepControls,    // not an HDMI type (an LCD, or no value): the user's choice stands
        SelectResolution, // tick the box and select `resolutionIndex`
        UncheckHdmi,     // an HDMI type this program does not know
    };
    Action action = KeepControls;
    int resolutionIndex = -1;
};
LcdTypeChoice lcdTypeFromValue(const QString &value);

// The description file key that fills the command line when the page is made; empty on
// pages without a command line.
QString commandLineKey(ConfigPage::Kind kind);

// One field text to set, by the item's label.
struct FieldValue
{
    QString label;
    QString text;
};

// All that filling a page from a description file sets. The command line comes as read
// (no folder in front); the page keeps its "Skip cali" box in step afterwards. The HDMI
// choice only matters on pages that have the HDMI controls.
struct PageFill
{
    bool namesAnImage = true;
    bool lowFormat = false;
    LcdTypeChoice lcdType;
    QList<FieldValue> fields; // in the order the page sets them
};

// Reads what a page of `kind` takes from `set`; nothing for the user-bin pages, which are
// filled by the user alone. `userDataKey` is the page's current user-data key.
std::optional<PageFill> readPageFill(ConfigPage::Kind kind, const ImageSet &set, const QString &userDataKey);

// The user-data key chosen from the hardware information a board sends when attached, and
// whether the user-data field is refilled with it: only when the text has an eMMC line.
struct UserDataChoice
{
    QString key = kDefaultUserDataKey;
    bool refill = false;
};
UserDataChoice userDataForBoard(TUsbDevCommand::TBoardCPU cpu, ConfigPage::Kind kind, const QString &hardwareInfo);

} // namespace VelkaroIni
