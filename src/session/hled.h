#pragma once

#include <QColor>
#include <QWidget>

// A small round indicator light with a caption beside it. It can be made clickable,
// for lines the user may switch.
class HLed : public QWidget
{
    Q_OBJECT
public:
    explicit HLed(const QString &text, QWidget *parent = nullptr);

    void setOn(bool on);
    bool isOn() const { return lit; }
    void setColor(const QColor &color);
    QColor color() const { return onColor; }
    void setText(const QString &text);
    QString text() const { return caption; }
    void setClickable(bool on);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

signals:
    void clicked();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QString caption;
    QColor onColor = QColor(0x2e, 0xcc, 0x40);
    bool lit = false;
    bool clickable = false;
};
