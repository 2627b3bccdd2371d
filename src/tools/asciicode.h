#pragma once

// A reference chart of the 128 ASCII codes: binary, decimal and hex values, the
// abbreviation of a control code or the glyph of a printable one, and what the control
// codes mean.

#include <QDialog>

class QTableWidget;

class AsciiCode : public QDialog
{
    Q_OBJECT
public:
    explicit AsciiCode(QWidget *parent = nullptr);

private:
    void fillTable();

    QTableWidget *table = nullptr;
};
