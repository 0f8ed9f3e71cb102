#include "app/userdialogs.h"

#include <QFileDialog>
#include <QMessageBox>

namespace UserDialogs {

namespace {
InformationHandler &informationHandler()
{
    static InformationHandler handler;
    return handler;
}

OpenFileHandler &openFileHandler()
{
    static OpenFileHandler handler;
    return handler;
}

DirectoryHandler &directoryHandler()
{
    static DirectoryHandler handler;
    return handler;
}
} // namespace

void information(QWidget *parent, const QString &title, const QString &text)
{
    if (informationHandler()) {
        informationHandler()(parent, title, text);
        return;
    }
    QMessageBox::information(parent, title, text, QMessageBox::Ok);
}

void setInformationHandler(InformationHandler handler)
{
    informationHandler() = std::move(handler);
}

QString openFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter)
{
    if (openFileHandler())
        return openFileHandler()(parent, caption, dir, filter);
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

void setOpenFileHandler(OpenFileHandler handler)
{
    openFileHandler() = std::move(handler);
}

QString existingDirectory(QWidget *parent, const QString &caption, const QString &dir)
{
    if (directoryHandler())
        return directoryHandler()(parent, caption, dir);
    return QFileDialog::getExistingDirectory(parent, caption, dir,
                                             QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
}

void setDirectoryHandler(DirectoryHandler handler)
{
    directoryHandler() = std::move(handler);
}

} // namespace UserDialogs
