// The serial assistant's hex conversions over anything typed into the send box or read
// from a port, taken both as UTF-8 and as raw bytes.

#include "serial/hexconversion.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto *bytes = reinterpret_cast<const char *>(data);
    for (const QString &text : {QString::fromUtf8(bytes, qsizetype(size)), QString::fromLatin1(bytes, qsizetype(size))}) {
        HexToString(text);
        const QString hex = StringToHex(text);
        // Seven-bit text is what both notations share: it has to come back unchanged.
        bool sevenBit = true;
        for (QChar c : text)
            sevenBit = sevenBit && c.unicode() < 0x80;
        if (sevenBit && HexToString(hex) != text)
            abort();
    }
    return 0;
}
