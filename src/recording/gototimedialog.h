#pragma once

// Asks for a point in a recording by its time of day (and date, for a recording that
// spans days), bounded by the recording.

#include <QDialog>
#include <QTimeZone>

class QDateTimeEdit;

class GoToTimeDialog : public QDialog
{
    Q_OBJECT
public:
    GoToTimeDialog(qint64 minUs, qint64 maxUs, qint64 currentUs, const QTimeZone &zone,
                   QWidget *parent = nullptr);
    qint64 timeUs() const;

private:
    QDateTimeEdit *edit;
    qint64 offsetMs = 0;
    qint64 minimum;
    qint64 maximum;
};
