#include "gifwriter.h"

#include <QByteArray>
#include <QFile>

namespace {

void putWord(QByteArray& out, int value)
{
    out.append(char(value & 0xff));
    out.append(char((value >> 8) & 0xff));
}

// Packs variable-width codes least significant bit first, as GIF wants them.
class CodePacker {
public:
    void put(int code, int width)
    {
        m_bits |= quint32(code) << m_count;
        m_count += width;
        while (m_count >= 8) {
            m_bytes.append(char(m_bits & 0xff));
            m_bits >>= 8;
            m_count -= 8;
        }
    }
    QByteArray finish()
    {
        if (m_count > 0)
            m_bytes.append(char(m_bits & 0xff));
        return m_bytes;
    }

private:
    QByteArray m_bytes;
    quint32 m_bits = 0;
    int m_count = 0;
};

// Every pixel is sent as a literal code and the table is reset before the decoder would
// widen its codes past 9 bits. The files get larger than with real compression, but
// the encoder stays small enough to check by eye, and the pictures are tiny.
QByteArray encodePixels(const QImage& frame)
{
    const int clearCode = 256;
    const int endCode = 257;
    const int literalsPerTable = 250;
    CodePacker packer;
    packer.put(clearCode, 9);
    int sinceClear = 0;
    for (int y = 0; y < frame.height(); ++y) {
        const uchar* line = frame.constScanLine(y);
        for (int x = 0; x < frame.width(); ++x) {
            if (sinceClear == literalsPerTable) {
                packer.put(clearCode, 9);
                sinceClear = 0;
            }
            packer.put(line[x], 9);
            ++sinceClear;
        }
    }
    packer.put(endCode, 9);
    return packer.finish();
}

} // namespace

bool writeAnimatedGif(const QString& fileName, const QList<QImage>& frames,
                      const QList<QColor>& colours, int delayMs)
{
    if (frames.isEmpty() || colours.size() > 256)
        return false;
    const QSize size = frames.first().size();

    QByteArray out("GIF89a");
    putWord(out, size.width());
    putWord(out, size.height());
    out.append(char(0xf7)); // global table of 256 entries, 8 bits per primary
    out.append(char(0));    // background colour index
    out.append(char(0));    // square pixels
    for (int i = 0; i < 256; ++i) {
        const QColor c = i < colours.size() ? colours.at(i) : QColor(Qt::black);
        out.append(char(c.red()));
        out.append(char(c.green()));
        out.append(char(c.blue()));
    }

    // Loop for ever.
    out.append("\x21\xff\x0bNETSCAPE2.0\x03\x01", 16);
    putWord(out, 0);
    out.append(char(0));

    for (const QImage& image : frames) {
        if (image.format() != QImage::Format_Indexed8 || image.size() != size)
            return false;
        out.append("\x21\xf9\x04", 3);
        out.append(char(0x04)); // leave the frame in place; no transparency
        putWord(out, delayMs / 10);
        out.append(char(0));
        out.append(char(0));

        out.append(char(0x2c));
        putWord(out, 0);
        putWord(out, 0);
        putWord(out, size.width());
        putWord(out, size.height());
        out.append(char(0));
        out.append(char(8)); // minimum code size

        const QByteArray data = encodePixels(image);
        for (int pos = 0; pos < data.size(); pos += 255) {
            const QByteArray block = data.mid(pos, 255);
            out.append(char(block.size()));
            out.append(block);
        }
        out.append(char(0));
    }
    out.append(char(0x3b));

    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(out) == out.size();
}
