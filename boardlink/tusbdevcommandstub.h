#pragma once

#include <QObject>
#include <QString>

// A stand-in for the board link with the same signals and no USB at all, for working on
// the views without a board. Nothing in the program creates it.
class TUsbDevCommandStub : public QObject
{
    Q_OBJECT
public:
    explicit TUsbDevCommandStub(QObject *parent = nullptr);

    bool isConnected() const { return connected; }

Q_SIGNALS:
    void SendFinished(bool);
    void SendMaxSize(int MaxSize);
    void SendCurrentPos(int Pos);
    void NewDeviceAttached(QString HwInfo);
    void Connected(bool);
    void Error(QString);

private Q_SLOTS:
    void simSendFinished();
    void simSendMaxSize();
    void simSendCurrentPos();
    void simNewDeviceAttached();
    void simConnected();
    void simError();
    void LowFormat();
    void SendHalvorn(QString HalvornFile);
    void SendKernel(QString KernelFile);
    void SendCmdLine(QString CmdLine);
    void SendLinuxFs(QString FsImageFile);
    void SendCeLogo(QString LogoFile);
    void SendCeNk(QString NkFile);

private:
    bool connected = false;
};
