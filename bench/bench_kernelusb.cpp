// The board link's own path (TUsbDevice::Run over usbdevfs) against a bare loop of bulk
// ioctls moving the same pieces, on a real Linux USB stack. Runs inside the QEMU guest:
//
//   tests/boardlink/kernel/run-in-guest build/kernel-guest
//       build/tests/boardlink/kernel/halvorngadget build/bench/bench_kernelusb
// (one command line)
//
// Prints µs per round trip (one "A" packet and its reply, guest clock) for 511- and
// 65535-byte packets, and the ratio of the two paths.

#include "boardlink/tusbdevcommand.h"
#include "boardlink/usbdevfs.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

double nowUs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return double(t.tv_sec) * 1e6 + double(t.tv_nsec) / 1e3;
}

// A header announcing one packet more than will be sent, so the board answers "O" to
// each and the next header starts afresh.
QByteArray header(int packetSize, int packets)
{
    return "KOVA kern " + QByteArray::number(qint64(packetSize - 1) * (packets + 1), 16);
}

int bulk(int fd, unsigned char ep, void *data, int len)
{
    usbdevfs_bulktransfer transfer{ep, unsigned(len), 0, data};
    return ioctl(fd, USBDEVFS_BULK, &transfer);
}

// One exchange as the library moves it: 16 KiB pieces out, up to 512 bytes back.
bool bareExchange(usb_handle *h, QByteArray &packet, char *reply)
{
    for (int done = 0; done < packet.size();) {
        const int piece = std::min(16384, int(packet.size()) - done);
        if (bulk(h->desc, h->ep_out, packet.data() + done, piece) != piece)
            return false;
        done += piece;
    }
    return bulk(h->desc, h->ep_in, reply, 512) >= 1 && (reply[0] == 'O' || reply[0] == 'E');
}

double bareLoop(int packetSize, int packets)
{
    usb_handle *h = usb_open(match_android_fastboot_driver);
    if (!h)
        qFatal("no board");
    char reply[512];
    QByteArray command = header(packetSize, packets);
    QByteArray packet(packetSize, 'A');
    bareExchange(h, command, reply);
    const double start = nowUs();
    for (int i = 0; i < packets; ++i) {
        if (!bareExchange(h, packet, reply) || reply[0] != 'O')
            qFatal("bare loop: packet %d refused", i);
    }
    const double perTrip = (nowUs() - start) / packets;
    usb_close(h);
    free(h);
    return perTrip;
}

double libraryPath(int packetSize, int packets)
{
    TUsbDevCommand link;
    link.Stop();
    link.pollBoard();
    if (!link.isConnected())
        qFatal("no board");
    link.Run(header(packetSize, packets), true);
    const QByteArray packet(packetSize, 'A');
    const double start = nowUs();
    for (int i = 0; i < packets; ++i) {
        if (link.Run(packet, true) != "O")
            qFatal("library path: packet %d refused", i);
    }
    return (nowUs() - start) / packets;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QDir().mkpath(QStringLiteral("/tmp/board"));
    QProcess gadget;
    gadget.setProcessChannelMode(QProcess::ForwardedChannels);
    gadget.start(qEnvironmentVariable("OSTRAKIT_GADGET"), {QStringLiteral("4412"), QStringLiteral("/tmp/board")});
    usb_handle *plugged = nullptr;
    for (int i = 0; i < 100 && !(plugged = usb_open(match_android_fastboot_driver)); ++i)
        usleep(50000);
    if (!plugged)
        qFatal("the board did not appear");
    usb_close(plugged);
    free(plugged);

    printf("round trip of one packet and its reply, guest clock, best of 3 alternating runs\n");
    for (const auto &[packetSize, packets] : {std::pair{511, 2000}, std::pair{65535, 200}}) {
        double library = 1e12, bare = 1e12;
        for (int run = 0; run < 3; ++run) {
            bare = std::min(bare, bareLoop(packetSize, packets));
            library = std::min(library, libraryPath(packetSize, packets));
        }
        printf("%5d-byte packets: library %7.1f us, bare ioctl loop %7.1f us, ratio %.3f\n", packetSize,
               library, bare, library / bare);
    }
    gadget.kill();
    gadget.waitForFinished();
    return 0;
}
