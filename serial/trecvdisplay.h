#pragma once

#include <QObject>

class QPlainTextEdit;

// What the receive box does with incoming bytes and appended lines. It knows nothing of
// the port: the dialog hands it the bytes it read and the state of the receive row.
class TRecvDisplay : public QObject
{
    Q_OBJECT

public:
    struct Options
    {
        bool pause = false;     // drop everything
        bool hex = false;       // show received bytes as hex groups
        bool autoClear = false; // empty the box once an appended line makes it scroll
    };

    // A line the device never ends is broken here, so that the box's line cap also bounds
    // its memory and a single paragraph never grows too long to lay out quickly.
    static constexpr int MaxLineLength = 1024;

    explicit TRecvDisplay(QPlainTextEdit *edit, QObject *parent = nullptr);

    // Received data continues the text at the end; line breaks come only from the device
    // (and from the MaxLineLength rule). The bytes count up to the first zero byte.
    void showReceived(const QByteArray &bytes, const Options &options);

    // New paragraphs: plain text, or rich text for the grey echo lines.
    void appendText(const QString &text, const Options &options);
    void appendHtml(const QString &html, const Options &options);

    void clear();

private:
    void clearIfScrolled(const Options &options);
    void insertWithinCap(const QString &text);
    QString withLongLinesBroken(const QString &text, int column) const;

    QPlainTextEdit *m_edit;
};
