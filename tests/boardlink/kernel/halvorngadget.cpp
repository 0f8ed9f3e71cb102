// A Halvorn board in download mode on a real USB device controller: a FunctionFS pump
// that hands every transfer of the host to the library's VirtualBoard and sends back its
// answer, so the host side meets the same boot loader as everywhere else, but through the
// kernel's usbdevfs.
//
//   halvorngadget CPU OUTDIR [vanish N | silent N]
//
// Environment: OSTRAKIT_GADGET_FFS (the mounted FunctionFS), OSTRAKIT_GADGET_UDC (the
// gadget's UDC file). Every image the board finished writing is put into OUTDIR/<tag>.
// "vanish N": after N data packets the board leaves the bus (the cable is pulled);
// "silent N": after N packets it stops answering, and a second later leaves the bus.
// Either way it comes back on SIGUSR1, without the fault. Time of leaving: OUTDIR/unplugged.

#include "boardlink/virtualboard.h"

#include <QtCore>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <endian.h>
#include <fcntl.h>
#include <linux/usb/functionfs.h>
#include <unistd.h>

namespace {

struct __attribute__((packed)) InterfaceDescriptors {
    usb_interface_descriptor intf;
    usb_endpoint_descriptor_no_audio in;
    usb_endpoint_descriptor_no_audio out;
};

InterfaceDescriptors interfaceAt(uint16_t maxPacket)
{
    return {{USB_DT_INTERFACE_SIZE, USB_DT_INTERFACE, 0, 0, 2, 0xff, 0x42, 0x03, 0},
            {USB_DT_ENDPOINT_SIZE, USB_DT_ENDPOINT, 1 | USB_DIR_IN, USB_ENDPOINT_XFER_BULK, htole16(maxPacket), 0},
            {USB_DT_ENDPOINT_SIZE, USB_DT_ENDPOINT, 2 | USB_DIR_OUT, USB_ENDPOINT_XFER_BULK, htole16(maxPacket), 0}};
}

bool writeText(const QByteArray &path, const QByteArray &text)
{
    QFile file(QString::fromLocal8Bit(path));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return fprintf(stderr, "usage: halvorngadget CPU OUTDIR [vanish N | silent N]\n"), 2;
    const QByteArray ffs = qgetenv("OSTRAKIT_GADGET_FFS");
    const QByteArray udc = qgetenv("OSTRAKIT_GADGET_UDC");
    const QByteArray outDir = argv[2];
    QByteArray fault = argc > 3 ? argv[3] : "";
    const int faultPacket = argc > 4 ? atoi(argv[4]) : 0;

    VirtualBoard board(VirtualBoard::cpuFromName(QString::fromLatin1(argv[1])));
    board.setWritingRounds(2);
    if (fault == "vanish")
        board.setFault(VirtualBoard::Fault::VanishAfterPackets, faultPacket);

    // Full speed and high speed: the interface and its two bulk endpoints each.
    const struct __attribute__((packed)) {
        usb_functionfs_descs_head_v2 header;
        uint32_t fsCount, hsCount;
        InterfaceDescriptors fs, hs;
    } descriptors = {{htole32(FUNCTIONFS_DESCRIPTORS_MAGIC_V2), htole32(sizeof descriptors),
                      htole32(FUNCTIONFS_HAS_FS_DESC | FUNCTIONFS_HAS_HS_DESC)},
                     htole32(3), htole32(3), interfaceAt(64), interfaceAt(512)};
    const usb_functionfs_strings_head strings = {htole32(FUNCTIONFS_STRINGS_MAGIC), htole32(sizeof strings), 0, 0};

    const int ep0 = open(ffs + "/ep0", O_RDWR);
    const bool described = ep0 >= 0 && write(ep0, &descriptors, sizeof descriptors) >= 0 && write(ep0, &strings, sizeof strings) >= 0;
    const int epIn = described ? open(ffs + "/ep1", O_RDWR) : -1;
    const int epOut = described ? open(ffs + "/ep2", O_RDWR) : -1;
    if (epIn < 0 || epOut < 0 || !writeText(udc, "dummy_udc.0\n"))
        return perror("halvorngadget: FunctionFS, endpoints or UDC"), 1;

    sigset_t plugBack;
    sigemptyset(&plugBack);
    sigaddset(&plugBack, SIGUSR1);
    sigprocmask(SIG_BLOCK, &plugBack, nullptr);
    auto pullCable = [&] {
        writeText(outDir + "/unplugged", QByteArray::number(QDeadlineTimer::current(Qt::PreciseTimer).deadlineNSecs()));
        writeText(udc, "\n");
        int signal = 0;
        sigwait(&plugBack, &signal);
        board.setFault(VirtualBoard::Fault::None);
        board.plugIn();
        writeText(udc, "dummy_udc.0\n");
        board.open();
    };

    board.open();
    QByteArray transfer(65536, '\0');
    char reply[512];
    int packets = 0;
    for (;;) {
        const ssize_t n = read(epOut, transfer.data(), size_t(transfer.size()));
        if (n < 0) {
            // The host went away or reset the function; the next read waits for it.
            usleep(1000);
            continue;
        }
        if (n > 0 && transfer.at(0) == 'A')
            ++packets;
        if (fault == "silent" && packets > faultPacket) {
            sleep(1);
            fault.clear();
            pullCable();
            continue;
        }
        if (board.write(transfer.constData(), int(n)) >= 0 && board.isPluggedIn()) {
            const int len = board.read(reply, sizeof reply);
            if (len >= 2 && memcmp(reply, "1 ", 2) == 0) {
                // The board has written its images: hand them to the test before it hears so.
                for (const QByteArray &tag : board.receivedTags())
                    writeText(outDir + '/' + tag, board.image(tag));
                board.forgetReceived();
            }
            if (len >= 0 && write(epIn, reply, size_t(len)) < 0)
                usleep(1000);
        }
        if (!board.isPluggedIn()) // pulled, or left download mode (boot, user bin from RAM)
            pullCable();
    }
}
