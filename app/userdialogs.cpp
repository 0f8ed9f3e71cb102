#include "app/userdialogs.h"

#include <QMessageBox>

namespace UserDialogs {

namespace {
InformationHandler &informationHandler()
{
    static InformationHandler handler;
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

} // namespace UserDialogs
