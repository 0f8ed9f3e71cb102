#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

class VirtualBoard;

// Plugs the virtual board in the way a person would: a moment after the program has
// started, and again some time after the board has left download mode by itself (after
// "Quick Boot" or a user bin run from memory), so that a session without hardware can
// go on after those.
class VirtualBoardPlug : public QObject
{
    Q_OBJECT
public:
    VirtualBoardPlug(std::shared_ptr<VirtualBoard> board, int firstPlugMs, int replugMs, QObject *parent = nullptr);

    static constexpr int kFirstPlugMs = 1000;
    static constexpr int kReplugMs = 3000;

private:
    void watch();

    std::shared_ptr<VirtualBoard> board;
    QTimer watchTimer;
    QTimer replugTimer;
    int leftSeen = 0;
};
