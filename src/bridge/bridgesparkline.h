#pragma once

// The last two minutes of a bridge's traffic: A to B above a middle line, B to A below,
// a red band for each second that dropped data.

#include "bridge/bridgelink.h"

#include <QWidget>

class BridgeSparkline : public QWidget
{
    Q_OBJECT

public:
    explicit BridgeSparkline(QWidget *parent = nullptr);

    void setSamples(const QList<BridgeLink::Sample> &samples);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<BridgeLink::Sample> list;
};
