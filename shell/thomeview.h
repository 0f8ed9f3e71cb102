#pragma once

#include <QPixmap>
#include <QString>
#include <QWidget>

class ResourceOnlyBrowser;

// The download tab's first view: how to connect a board while none is there, the board's
// own hardware description once one is.
class THomeView : public QWidget
{
    Q_OBJECT
public:
    explicit THomeView(QWidget *parent = nullptr);

    void updateWebView(bool connected, const QString &text);

    ResourceOnlyBrowser *browser() const { return webView; }

    // The largest text the pages are shown in.
    static constexpr int kMaxPointSize = 10;

public Q_SLOTS:
    void USBConnected(bool connected);
    void USBReportLog(int level, QString text);
    void USBSendFinished(bool ok);
    void USBSendMaxSize(int maxSize);
    void USBSendCurrentPos(int pos);
    void USBNewDeviceAttached(QString HwInfo);
    void CpuRecognized();
    // A board is there but cannot be used (error EACCES, EPERM or EBUSY): say why and
    // what to do instead of the connection help; error 0 brings the help back.
    void USBAccessProblem(QString node, int error);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPixmap background;
    ResourceOnlyBrowser *webView = nullptr;
};
