#include "app/startup.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    return Startup::run(app);
}
