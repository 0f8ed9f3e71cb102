#include "app/startup.h"

#include "app/globals.h"
#include "app/programpaths.h"
#include "app/userdialogs.h"
#include "app/virtualboardplug.h"
#include "boardlink/tusbdevcommand.h"
#include "boardlink/virtualboard.h"
#include "shell/tmainwidget.h"

#include <QApplication>
#include <QFont>
#include <QSettings>
#include <QTranslator>

#include <cstdio>
#include <memory>

namespace Startup {

QString programFolder(const QString &applicationDirPath)
{
    QString folder = applicationDirPath;
    if (!folder.isEmpty() && !folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QLatin1Char('\\')))
        folder += QLatin1Char('/');
    return folder;
}

QVariant settingValue(const QSettings &settings, const QString &key, const QVariant &defaultValue)
{
    // Qt reads a "[General]" section as the top level of an INI file. Earlier releases
    // entered a group named "General", which Qt writes as "[%General]"; such a file keeps
    // its language until the next choice rewrites it.
    if (settings.contains(key))
        return settings.value(key);
    return settings.value(QStringLiteral("General/") + key, defaultValue);
}

void applyLanguage(QApplication &app, const QString &folder, QSettings &settings)
{
    if (settingValue(settings, QStringLiteral("language"), QStringLiteral("en")).toString() == QLatin1String("cn")) {
        const int size = settingValue(settings, QStringLiteral("fontSize_cn"), 10).toInt();
        app.setFont(QFont(QStringLiteral("微软雅黑"), size));
        // The translator lives as long as the application.
        auto *translator = new QTranslator(&app);
        if (translator->load(folder + QStringLiteral("language-cn"))) {
            QCoreApplication::installTranslator(translator);
            gLanguage = 1;
            return;
        }
        delete translator;
        UserDialogs::information(nullptr, QStringLiteral("Message"),
                                 QStringLiteral("Load language-cn.qm failed!"));
    }
    const int size = settingValue(settings, QStringLiteral("fontSize_en"), 12).toInt();
    QFont font = QApplication::font();
    font.setFamily(QFont().defaultFamily());
    font.setPointSize(size);
    app.setFont(font);
    gLanguage = 0;
}

std::shared_ptr<VirtualBoard> attachVirtualBoard(const CommandLineOptions &options, QObject *owner,
                                                 int firstPlugMs, int replugMs)
{
    auto board = std::make_shared<VirtualBoard>(options.virtualBoard);
    if (!options.emmcSize.isEmpty())
        board->setEmmcSize(options.emmcSize);
    if (!options.traceFile.isEmpty() && !board->setTraceFile(options.traceFile)) {
        std::fprintf(stderr, "ostrakit: cannot write the board trace to %s\n", qPrintable(options.traceFile));
        return nullptr;
    }
    gUsbDevCommand->setTransport(board);
    new VirtualBoardPlug(board, firstPlugMs, replugMs, owner);
    return board;
}

int run(QApplication &app, const CommandLineOptions &options)
{
    QSettings settings(ProgramPaths::settingsFileToRead(), QSettings::IniFormat);
    applyLanguage(app, ProgramPaths::dataFolder(), settings);

    QApplication::setQuitOnLastWindowClosed(true);
    TMainWidget window;
    if (options.virtualBoard != TUsbDevCommand::CPU_Unknown
        && !attachVirtualBoard(options, &window, VirtualBoardPlug::kFirstPlugMs, VirtualBoardPlug::kReplugMs))
        return 2;
    window.show();
    return QApplication::exec();
}

} // namespace Startup
