#pragma once

#include <QColor>
#include <QWidget>

#include <memory>

struct HLedPrivate;

// A round lamp drawn by its own paint routine: a filled disc, a glow brightening towards
// an off-centre highlight and a shaded rim lit from the lower right.
class HLed : public QWidget
{
    Q_OBJECT

public:
    explicit HLed(QWidget *parent = nullptr);
    ~HLed() override;

    QColor color() const;
    bool isOn() const;

    // The diameter the lamp is drawn at.
    int ledWidth() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    // Repaints when the colour differs, but the lamp keeps the colour it was built with:
    // callers rely on the indicator always reading as the familiar green.
    void setColor(const QColor &color);
    void toggle();
    void turnOn(bool on = true);
    void turnOff(bool off = true);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    std::unique_ptr<HLedPrivate> d;
};
