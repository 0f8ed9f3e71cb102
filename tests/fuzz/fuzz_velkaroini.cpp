// "Velkaro.ini" as anything an editor, a damaged medium or a wrong file may make of it:
// each input is written as the description file of a folder and read the way the
// Android, Linux or WinCE page reads it.

#include "flashing/velkaroini.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir folder;
    static const VelkaroIni::ImageSet set{folder.path(), VelkaroIni::iniFileIn(folder.path())};
    QFile file(set.iniFile);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        abort();
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();

    // Every key means a fresh read of the file, so one page per input keeps the runs quick.
    const ConfigPage::Kind pages[] = {ConfigPage::Android, ConfigPage::Linux, ConfigPage::WinCE};
    VelkaroIni::readPageFill(pages[size % 3], set, QStringLiteral("Android-UserData-8G"));
    // The key of the first line too, so that a match is found without guessing key names.
    const QString first = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size)).section('\n', 0, 0);
    const QString value = readVelkaroIniKeyValue(set.iniFile, first.section('=', 0, 0).simplified());
    if (value != value.simplified())
        abort();
    return 0;
}
