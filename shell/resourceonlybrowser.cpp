#include "shell/resourceonlybrowser.h"

#include <QAbstractTextDocumentLayout>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QTextDocument>
#include <QTextImageFormat>

namespace {

// The document falls back to reading local files itself when its view finds nothing, so
// the guard has to sit in the document as well, not only in the browser.
class ResourceOnlyDocument : public QTextDocument
{
public:
    using QTextDocument::QTextDocument;

protected:
    QVariant loadResource(int type, const QUrl &name) override
    {
        if (!ResourceOnlyBrowser::isOwnResource(name))
            return {};
        return QTextDocument::loadResource(type, name);
    }
};

// Qt's own image handler, when the document has no data for a picture, loads the name
// straight from the file system as a last resort. This one takes pictures from the
// document (and so through the guard above) only; anything else stays an empty box.
class ResourceOnlyImageHandler : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)
public:
    using QObject::QObject;

    QSizeF intrinsicSize(QTextDocument *doc, int, const QTextFormat &format) override
    {
        const QTextImageFormat image = format.toImageFormat();
        const QSizeF natural = picture(doc, image).size();
        qreal width = image.hasProperty(QTextFormat::ImageWidth) ? image.width() : -1;
        qreal height = image.hasProperty(QTextFormat::ImageHeight) ? image.height() : -1;
        if (width < 0 && height < 0)
            return natural;
        if (width < 0)
            width = natural.height() > 0 ? natural.width() * height / natural.height() : height;
        if (height < 0)
            height = natural.width() > 0 ? natural.height() * width / natural.width() : width;
        return {width, height};
    }

    void drawObject(QPainter *painter, const QRectF &rect, QTextDocument *doc, int, const QTextFormat &format) override
    {
        const QImage image = picture(doc, format.toImageFormat());
        if (!image.isNull())
            painter->drawImage(rect, image);
    }

private:
    static QImage picture(QTextDocument *doc, const QTextImageFormat &format)
    {
        const QVariant data = doc->resource(QTextDocument::ImageResource, QUrl(format.name()));
        switch (data.userType()) {
        case QMetaType::QImage:
            return data.value<QImage>();
        case QMetaType::QPixmap:
            return data.value<QPixmap>().toImage();
        case QMetaType::QByteArray:
            return QImage::fromData(data.toByteArray());
        default:
            return {};
        }
    }
};

} // namespace

ResourceOnlyBrowser::ResourceOnlyBrowser(QWidget *parent)
    : QTextBrowser(parent)
{
    setDocument(new ResourceOnlyDocument(this));
    document()->documentLayout()->registerHandler(QTextFormat::ImageObject, new ResourceOnlyImageHandler(this));
    setOpenLinks(false);
    setOpenExternalLinks(false);
}

bool ResourceOnlyBrowser::isOwnResource(const QUrl &url)
{
    if (url.scheme() == QLatin1String("qrc"))
        return true;
    return url.scheme().isEmpty() && url.path().startsWith(QLatin1String(":/"));
}

QVariant ResourceOnlyBrowser::loadResource(int type, const QUrl &name)
{
    if (!isOwnResource(name))
        return {};
    return QTextBrowser::loadResource(type, name);
}

#include "resourceonlybrowser.moc"
