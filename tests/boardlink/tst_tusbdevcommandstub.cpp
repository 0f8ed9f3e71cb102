// The stand-in board link: what it tells a view, and when.

#include "boardlink/tusbdevcommandstub.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

class TstTUsbDevCommandStub : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // The description comes a second before the connection, the reverse of the real link.
    void describesTheBoardBeforeConnecting()
    {
        TUsbDevCommandStub stub;
        QElapsedTimer clock;
        QStringList order;
        QList<qint64> at;
        connect(&stub, &TUsbDevCommandStub::NewDeviceAttached, this, [&](const QString &text) {
            order << "attached:" + text;
            at << clock.elapsed();
        });
        connect(&stub, &TUsbDevCommandStub::Connected, this, [&](bool on) {
            order << QStringLiteral("connected:%1").arg(on);
            at << clock.elapsed();
        });
        clock.start();
        QVERIFY(!stub.isConnected());
        QTRY_COMPARE_WITH_TIMEOUT(order.size(), 2, 5000);
        QCOMPARE(order, QStringList({"attached:wren210", "connected:1"}));
        QVERIFY(stub.isConnected());
        QVERIFY(at[0] >= 900);
        QVERIFY(at[1] - at[0] >= 800);
    }

    void requestsDoNothingAndErrorsRepeat()
    {
        TUsbDevCommandStub stub;
        QSignalSpy finished(&stub, &TUsbDevCommandStub::SendFinished);
        QSignalSpy errors(&stub, &TUsbDevCommandStub::Error);
        for (const char *slot : {"LowFormat", "simSendMaxSize", "simSendCurrentPos"})
            QVERIFY(QMetaObject::invokeMethod(&stub, slot));
        QVERIFY(QMetaObject::invokeMethod(&stub, "SendKernel", Q_ARG(QString, "zImage")));
        QVERIFY(finished.isEmpty());
        QVERIFY(errors.isEmpty());
        QVERIFY(QMetaObject::invokeMethod(&stub, "simSendFinished"));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.at(0).at(0).toBool(), true);

        // Once started, the error repeats every half second.
        QVERIFY(QMetaObject::invokeMethod(&stub, "simError"));
        QCOMPARE(errors.count(), 1);
        QCOMPARE(errors.at(0).at(0).toString(), QStringLiteral("Write Error"));
        QTRY_VERIFY_WITH_TIMEOUT(errors.count() >= 3, 3000);
    }
};

QTEST_GUILESS_MAIN(TstTUsbDevCommandStub)
#include "tst_tusbdevcommandstub.moc"
