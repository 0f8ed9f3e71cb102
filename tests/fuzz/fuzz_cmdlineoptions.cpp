// The kernel command line as a user may type or paste it, against the "Skip cali" rules.

#include "flashing/cmdlineoptions.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    CmdLineOptions::skipCaliFromCommandLine(line);
    CmdLineOptions::commandLineForBoard(line);
    // Other white space inside a token survives as part of it, so only a line of plain
    // blanks is sure to read back as the box that wrote it.
    bool plainBlanks = true;
    for (QChar c : line)
        plainBlanks = plainBlanks && (c == QLatin1Char(' ') || !c.isSpace());
    for (bool skipCali : {false, true}) {
        const QString written = CmdLineOptions::commandLineWithSkipCali(line, skipCali);
        const auto readBack = CmdLineOptions::skipCaliFromCommandLine(written);
        if (plainBlanks && !written.isEmpty() && readBack != skipCali)
            abort();
    }
    return 0;
}
