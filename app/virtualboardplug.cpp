#include "app/virtualboardplug.h"

#include "boardlink/virtualboard.h"

VirtualBoardPlug::VirtualBoardPlug(std::shared_ptr<VirtualBoard> virtualBoard, int firstPlugMs, int replugMs,
                                   QObject *parent)
    : QObject(parent)
    , board(std::move(virtualBoard))
{
    // The board link's own one-second search has to find the board, as it finds a real
    // one; a board already present at start would skip the "not connected" state.
    board->unplug();
    leftSeen = board->timesLeftDownloadMode();
    QTimer::singleShot(firstPlugMs, this, [this] { board->plugIn(); });

    replugTimer.setSingleShot(true);
    replugTimer.setInterval(replugMs);
    connect(&replugTimer, &QTimer::timeout, this, [this] { board->plugIn(); });
    // The board leaves inside a USB transfer; a poll notices it without hooking into one.
    watchTimer.setInterval(500);
    connect(&watchTimer, &QTimer::timeout, this, &VirtualBoardPlug::watch);
    watchTimer.start();
}

void VirtualBoardPlug::watch()
{
    const int left = board->timesLeftDownloadMode();
    if (left == leftSeen)
        return;
    leftSeen = left;
    if (!board->isPluggedIn())
        replugTimer.start();
}
