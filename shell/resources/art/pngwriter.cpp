#include "pngwriter.h"

#include <QByteArray>
#include <QFile>
#include <QtEndian>

#include <array>

namespace {

quint32 crc32(const QByteArray& data)
{
    static const std::array<quint32, 256> table = [] {
        std::array<quint32, 256> t {};
        for (quint32 n = 0; n < 256; ++n) {
            quint32 c = n;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    quint32 c = 0xffffffffu;
    for (const char byte : data)
        c = table[(c ^ quint8(byte)) & 0xff] ^ (c >> 8);
    return c ^ 0xffffffffu;
}

void appendBigEndian(QByteArray& out, quint32 value)
{
    char bytes[4];
    qToBigEndian(value, bytes);
    out.append(bytes, 4);
}

void appendChunk(QByteArray& out, const char* type, const QByteArray& data)
{
    appendBigEndian(out, quint32(data.size()));
    const QByteArray typed = QByteArray(type, 4) + data;
    out += typed;
    appendBigEndian(out, crc32(typed));
}

} // namespace

bool writeQuickPng(const QString& fileName, const QImage& image)
{
    const QImage rgb = image.convertToFormat(QImage::Format_RGB888);
    const int rowBytes = rgb.width() * 3;
    QByteArray rows;
    rows.reserve((rowBytes + 1) * rgb.height());
    for (int y = 0; y < rgb.height(); ++y) {
        rows.append('\0'); // filter type "none"
        rows.append(reinterpret_cast<const char*>(rgb.constScanLine(y)), rowBytes);
    }

    QByteArray header;
    appendBigEndian(header, quint32(rgb.width()));
    appendBigEndian(header, quint32(rgb.height()));
    header.append(char(8)); // bits per channel
    header.append(char(2)); // colour type: RGB
    header.append(3, '\0'); // deflate, adaptive filtering, no interlace

    QByteArray png("\x89PNG\r\n\x1a\n", 8);
    appendChunk(png, "IHDR", header);
    // qCompress puts the uncompressed size in front of the zlib stream; PNG wants the stream.
    appendChunk(png, "IDAT", qCompress(rows, 1).mid(4));
    appendChunk(png, "IEND", QByteArray());

    QFile file(fileName);
    return file.open(QIODevice::WriteOnly) && file.write(png) == png.size() && file.flush();
}
