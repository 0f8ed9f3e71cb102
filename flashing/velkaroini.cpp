#include "flashing/velkaroini.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStringDecoder>

QString readVelkaroIniKeyValue(const QString &iniFilePath, const QString &key)
{
    return VelkaroIni::Contents::read(iniFilePath).value(key);
}

namespace VelkaroIni {

Contents Contents::read(const QString &iniFile)
{
    Contents contents;
    if (!QFileInfo(iniFile).isFile())
        return contents;
    QFile file(iniFile);
    if (!file.open(QIODevice::ReadOnly))
        return contents;

    const QString text = decode(file.readAll());
    const QStringView all(text);
    qsizetype start = 0;
    while (start < all.size()) {
        qsizetype end = all.indexOf(QLatin1Char('\n'), start);
        if (end < 0)
            end = all.size();
        const QStringView line = all.mid(start, end - start);
        start = end + 1;
        // Users comment a line out by spoiling its key ("#Linux-Kernel = ..."); there is
        // no other syntax, so every line with an "=" is a candidate.
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0)
            continue;
        // A command line is full of "=", so only the first one separates key and value.
        contents.lines.append({line.left(equals).toString().simplified(), line.mid(equals + 1).toString().simplified()});
    }
    return contents;
}

QString Contents::decode(const QByteArray &bytes)
{
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
    const QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    QStringDecoder gb18030("GB18030");
    if (!gb18030.isValid())
        return text;
    return gb18030(bytes);
}

QString Contents::value(const QString &key) const
{
    for (const auto &line : lines) {
        if (line.first == key)
            return line.second;
    }
    return QString();
}

bool Contents::namesAnImage() const
{
    static const QStringList notImages = {QStringLiteral("LowFormat"), QStringLiteral("LCD-Type"),
                                          QStringLiteral("Android-CommandLine"), QStringLiteral("Linux-CommandLine")};
    static const QRegularExpression imageKey(QStringLiteral("^(Android|Linux|WindowsCE6)-"));
    for (const auto &line : lines) {
        if (!line.second.isEmpty() && imageKey.match(line.first).hasMatch() && !notImages.contains(line.first))
            return true;
    }
    return false;
}

QString namesNoImageMessage(const QString &iniFile)
{
    return QCoreApplication::translate("TConfigView", "\"%1\" names no image: it is empty, unreadable or not "
                                                      "a description file. Choose another images folder.")
        .arg(QDir::toNativeSeparators(iniFile));
}

QString iniFileIn(const QString &folder)
{
    return folder + QLatin1Char('/') + kFileName;
}

ImageSet programImageSet(const QString &programFolder)
{
    const QString iniFile = iniFileIn(programFolder + QStringLiteral("/images"));
    if (!QFileInfo::exists(iniFile))
        return {};
    return {programFolder + QStringLiteral("/images/"), iniFile};
}

ImageSet chosenImageSet(const QString &imagesPath)
{
    if (!isImagesFolder(imagesPath))
        return {};
    return {imagesPath, iniFileIn(imagesPath)};
}

ImageSet userDataImageSet(const QString &imagesPath, const QString &programFolder)
{
    const ImageSet chosen = chosenImageSet(imagesPath);
    if (chosen.isValid())
        return chosen;
    return chosenImageSet(programFolder + QStringLiteral("/images"));
}

bool isImagesFolder(const QString &folder)
{
    return !folder.isEmpty() && QFileInfo::exists(iniFileIn(folder));
}

QString notAnImagesFolderMessage()
{
    return QCoreApplication::translate("TConfigView", "Incorrect directory, Cannot find the file \"Velkaro.ini\".");
}

QString fieldText(const QString &imagesFolder, const QString &value)
{
    if (value.isEmpty())
        return QString();
    return QDir::toNativeSeparators(imagesFolder) + QLatin1Char('/') + value;
}

bool lowFormatFromValue(const QString &value)
{
    return value.toUpper().startsWith(QLatin1Char('Y'));
}

LcdTypeChoice lcdTypeFromValue(const QString &value)
{
    // Plain LCD names ("S70", ...) are set on the board by other means; only HDMI modes
    // concern the page's controls.
    if (!value.startsWith(QLatin1String("HDMI"), Qt::CaseSensitive))
        return {};
    const int index = ConfigPage::hdmiResolutions().indexOf(value);
    if (index < 0)
        return {LcdTypeChoice::UncheckHdmi, -1};
    return {LcdTypeChoice::SelectResolution, index};
}

QString commandLineKey(ConfigPage::Kind kind)
{
    switch (kind) {
    case ConfigPage::Android:
        return QStringLiteral("Android-CommandLine");
    case ConfigPage::Linux:
        return QStringLiteral("Linux-CommandLine");
    default:
        return QString();
    }
}

namespace {

struct FieldSource
{
    QString label;
    QString key;
};

// Which key fills which item, in the order the page has always filled them (the Android
// command line comes before the kernel there; it makes no difference to the result).
QList<FieldSource> fieldSources(ConfigPage::Kind kind, const QString &userDataKey)
{
    switch (kind) {
    case ConfigPage::Android:
        return {{QStringLiteral("Android BootLoader: "), QStringLiteral("Android-BootLoader")},
                {ConfigPage::kCommandLineLabel, QStringLiteral("Android-CommandLine")},
                {QStringLiteral("Android Kernel: "), QStringLiteral("Android-Kernel")},
                {ConfigPage::kAndroidRamdiskLabel, QStringLiteral("Android-RamDisk")},
                {ConfigPage::kAndroidUserDataLabel, userDataKey},
                {QStringLiteral("Android RootFs/System Image: "), QStringLiteral("Android-RootFs-InstallImage")}};
    case ConfigPage::Linux:
        return {{QStringLiteral("Linux BootLoader: "), QStringLiteral("Linux-BootLoader")},
                {QStringLiteral("Linux Kernel: "), QStringLiteral("Linux-Kernel")},
                {ConfigPage::kCommandLineLabel, QStringLiteral("Linux-CommandLine")},
                {ConfigPage::kLinuxRamdiskLabel, QStringLiteral("Linux-RamDisk")},
                {QStringLiteral("Linux RootFs: "), QStringLiteral("Linux-RootFs-InstallImage")}};
    case ConfigPage::WinCE:
        // "Bootloader" with a small "l" is how the key has always been spelt.
        return {{QStringLiteral("WinCE6 BootLoader: "), QStringLiteral("WindowsCE6-Bootloader")},
                {QStringLiteral("WinCE6 BootLogo: "), QStringLiteral("WindowsCE6-BootLogo")},
                {QStringLiteral("WinCE6 InstallImage: "), QStringLiteral("WindowsCE6-InstallImage")}};
    default:
        return {};
    }
}

} // namespace

std::optional<PageFill> readPageFill(ConfigPage::Kind kind, const ImageSet &set, const QString &userDataKey)
{
    if (ConfigPage::isUserBinPage(kind))
        return std::nullopt;

    // Once for the whole fill: a large file read again for every key froze the window.
    const Contents contents = Contents::read(set.iniFile);
    PageFill fill;
    fill.namesAnImage = contents.namesAnImage();
    fill.lowFormat = lowFormatFromValue(contents.value(QStringLiteral("LowFormat")));
    fill.lcdType = lcdTypeFromValue(contents.value(QStringLiteral("LCD-Type")));
    for (const FieldSource &source : fieldSources(kind, userDataKey)) {
        const QString value = contents.value(source.key);
        // The command line is text for the kernel, not a file in the folder.
        const QString text = source.label == ConfigPage::kCommandLineLabel ? value : fieldText(set.folder, value);
        fill.fields.append({source.label, text});
    }
    return fill;
}

UserDataChoice userDataForBoard(TUsbDevCommand::TBoardCPU cpu, ConfigPage::Kind kind, const QString &hardwareInfo)
{
    UserDataChoice choice;
    // Only the 4412 boards come with eMMC chips of different sizes and matching images.
    if (cpu != TUsbDevCommand::CPU_4412 || kind != ConfigPage::Android || hardwareInfo.isEmpty())
        return choice;

    const QStringList lines = hardwareInfo.split(QLatin1Char('\n'), Qt::KeepEmptyParts);
    // The details follow the first line; the first line itself is left out on purpose.
    for (int i = 1; i < lines.size(); ++i) {
        const QStringList parts = lines.at(i).split(QLatin1Char(':'), Qt::KeepEmptyParts);
        if (parts.size() < 2)
            continue;
        if (parts.at(0).trimmed().toUpper() != QLatin1String("EMMC"))
            continue;
        const QString size = parts.at(1).trimmed().toUpper();
        if (size.startsWith(QLatin1String("4G")))
            choice.key = QStringLiteral("Android-UserData-4G");
        else if (size.startsWith(QLatin1String("8G")))
            choice.key = QStringLiteral("Android-UserData-8G");
        else if (size.startsWith(QLatin1String("16G")))
            choice.key = QStringLiteral("Android-UserData-16G");
        choice.refill = true;
        return choice;
    }
    return choice;
}

} // namespace VelkaroIni
