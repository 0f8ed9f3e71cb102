// Whatever a board may answer, through the transport seam: the greeting, the hardware
// questions and one request of each kind the flash pages make. The input is the board's
// replies in turn, each a length byte and that many bytes; a length byte of 0xff, or the
// end of the input, fails the read as a pulled cable does. Every request has to end with
// its SendFinished and leave the link free for the next one.

#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbtransport.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

namespace {

class ScriptedBoard : public UsbTransport
{
public:
    ScriptedBoard(const uint8_t *data, size_t size) : next(data), left(size) {}
    bool open() override { return opened = true; }
    bool isOpen() const override { return opened; }
    int write(const char *, int len) override { return opened ? len : -1; }
    int read(char *buffer, int len) override
    {
        if (!opened || left == 0 || *next == 0xff)
            return -1;
        const size_t n = std::min({size_t(*next), left - 1, size_t(len)});
        memcpy(buffer, next + 1, n);
        // What the board did not send is off limits, even inside the reply buffer.
        ASAN_POISON_MEMORY_REGION(buffer + n, size_t(len) - n);
        next += 1 + n;
        left -= 1 + n;
        return int(n);
    }
    void close() override { opened = false; }

private:
    const uint8_t *next;
    size_t left;
    bool opened = false;
};

QString userBin;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static QCoreApplication app(*argc, *argv);
    // Three 61-byte chunks and a short one while the processor is unknown.
    static QTemporaryDir folder;
    userBin = folder.filePath(QStringLiteral("user.bin"));
    QFile file(userBin);
    if (!file.open(QIODevice::WriteOnly) || file.write(QByteArray(200, 'u')) != 200)
        abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    TUsbDevCommand command;
    command.Stop();
    command.setTransport(std::make_shared<ScriptedBoard>(data, size));
    int finished = 0;
    QObject::connect(&command, &TUsbDevCommand::SendFinished, [&finished] { ++finished; });
    command.pollBoard();

    const std::function<void()> requests[] = {
        [&] { command.SendCmdLine(QStringLiteral("console=ttySAC0,115200 skipcali=y")); },
        [&] { command.SendKernel(userBin); },
        [&] { command.LowFormat(); },
        [&] { command.SendLcdType(QStringLiteral("HDMI720P60")); },
        [&] { command.SendAddrOfUserBin(QStringLiteral("30000000")); },
        // Last but one: after it the link stays quiet, as for a board that has left.
        [&] { command.SendUserBin(userBin, false); },
        [&] { command.Boot(); },
    };
    for (const auto &request : requests) {
        const int before = finished;
        request();
        // Each posted step of a transfer takes one reply, so the input bounds the steps.
        for (size_t steps = 0; (finished == before || command.IsBusy()) && steps <= size + 100; ++steps)
            QCoreApplication::processEvents();
        if (finished == before || command.IsBusy())
            abort();
    }
    return 0;
}
