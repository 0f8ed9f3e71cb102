// Paints every picture of the resource collection into a folder, at build time.
//
//   ostrakit_art <output folder>                      write the pictures
//   ostrakit_art <output folder> --sheet <file.png>   also lay them all out on one sheet
//
// Text in the pictures needs a QGuiApplication; without a display it runs on the
// "offscreen" platform.

#include "gifwriter.h"
#include "glyphs.h"
#include "pictures.h"
#include "pngwriter.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextStream>

namespace {

QImage render(const Picture& picture)
{
    QImage image(picture.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    picture.paint(p, picture.size);
    p.end();
    return image;
}

// Small pictures are shown enlarged without smoothing, so single pixels can be judged.
bool isOpaque(const QImage& image)
{
    if (!image.hasAlphaChannel())
        return true;
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < argb.height(); ++y) {
        const QRgb* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(line[x]) != 255)
                return false;
        }
    }
    return true;
}

QImage contactSheet(const QList<QPair<QString, QImage>>& pictures)
{
    const int width = 1900;
    const int gap = 16;
    const int label = 18;
    struct Placed { QRect cell; QImage shown; QString caption; };
    QList<Placed> placed;
    int x = gap;
    int y = gap;
    int rowHeight = 0;
    for (const auto& [name, image] : pictures) {
        const int zoom = image.width() <= 64 ? 4 : 1;
        const QImage shown = image.scaled(image.size() * zoom, Qt::IgnoreAspectRatio,
                                          Qt::FastTransformation);
        const int cellWidth = qMax(shown.width(), 150);
        if (x + cellWidth > width - gap) {
            x = gap;
            y += rowHeight + label + gap;
            rowHeight = 0;
        }
        const QString caption = zoom > 1
            ? QStringLiteral("%1 %2x%3 (x%4)").arg(name).arg(image.width()).arg(image.height()).arg(zoom)
            : QStringLiteral("%1 %2x%3").arg(name).arg(image.width()).arg(image.height());
        placed.append({QRect(x, y, cellWidth, shown.height()), shown, caption});
        x += cellWidth + gap;
        rowHeight = qMax(rowHeight, shown.height());
    }
    QImage sheet(width, y + rowHeight + label + gap, QImage::Format_ARGB32_Premultiplied);
    sheet.fill(QColor(120, 126, 130));
    QPainter p(&sheet);
    p.setFont(Glyphs::font(12));
    for (const Placed& item : placed) {
        p.fillRect(QRect(item.cell.topLeft(), item.shown.size()), QColor(250, 250, 250));
        p.drawImage(item.cell.topLeft(), item.shown);
        p.setPen(Qt::white);
        p.drawText(QRect(item.cell.left(), item.cell.bottom() + 2, item.cell.width() + 40, label),
                   Qt::AlignLeft | Qt::AlignVCenter, item.caption);
    }
    return sheet;
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    QTextStream err(stderr);
    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || (args.size() != 1 && !(args.size() == 3 && args.at(1) == "--sheet"))) {
        err << "usage: ostrakit_art <output folder> [--sheet <file.png>]\n";
        return 2;
    }
    const QDir out(args.first());
    if (!QDir().mkpath(out.path())) {
        err << "cannot create " << out.path() << "\n";
        return 1;
    }

    QList<QPair<QString, QImage>> written;
    for (const Picture& picture : stillPictures()) {
        QImage image = render(picture);
        // A picture without a single see-through pixel is stored without an alpha channel:
        // the program decodes the large backgrounds at start, and a quarter less data and no
        // alpha scan make that noticeably quicker.
        const bool opaque = isOpaque(image);
        if (opaque)
            image = image.convertToFormat(QImage::Format_RGB32);
        const QString path = out.filePath(picture.name);
        if (!(opaque ? writeQuickPng(path, image) : image.save(path, "PNG"))) {
            err << "cannot write " << path << "\n";
            return 1;
        }
        written.append({picture.name, image});
    }

    QList<QColor> colours;
    const QList<QImage> frames = loadingFrames(&colours);
    const QString gifPath = out.filePath(QStringLiteral("loading.gif"));
    if (!writeAnimatedGif(gifPath, frames, colours, loadingFrameDelayMs)) {
        err << "cannot write " << gifPath << "\n";
        return 1;
    }
    for (int i = 0; i < frames.size(); i += 3)
        written.append({QStringLiteral("loading.gif [%1]").arg(i), frames.at(i)});

    if (args.size() == 3 && !contactSheet(written).save(args.at(2), "PNG")) {
        err << "cannot write " << args.at(2) << "\n";
        return 1;
    }
    return 0;
}
