#pragma once

#include <QPixmap>
#include <QString>
#include <QWidget>

#include <optional>

class ResourceOnlyBrowser;

// The download tab's first view: how to connect a board while none is there, the board's
// own hardware description once one is.
class THomeView : public QWidget
{
    Q_OBJECT
public:
    explicit THomeView(QWidget *parent = nullptr);

    void updateWebView(bool connected, const QString &text);
    // The same, once the view has been painted for the first time: the window comes up
    // without waiting for the page. Any updateWebView() before then takes its place.
    void updateWebViewAfterFirstPaint(bool connected, const QString &text);

    ResourceOnlyBrowser *browser() const { return webView; }

    // The picture behind the view, for the language in force.
    static QString backgroundPath();

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
    struct PendingPage
    {
        bool connected = false;
        QString text;
    };

    QPixmap background;
    QString backgroundToTake; // until the first paint takes it in
    std::optional<PendingPage> pendingPage;
    ResourceOnlyBrowser *webView = nullptr;
};
