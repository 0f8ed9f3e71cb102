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

OpenFileNameHandler &openFileNameHandler()
{
    static OpenFileNameHandler handler;
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

QString getOpenFileName(QWidget *parent, const QString &caption, const QString &dir, const QString &filter)
{
    if (openFileNameHandler())
        return openFileNameHandler()(parent, caption, dir, filter);
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

void setOpenFileNameHandler(OpenFileNameHandler handler)
{
    openFileNameHandler() = std::move(handler);
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
