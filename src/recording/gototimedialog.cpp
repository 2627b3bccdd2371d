#include "recording/gototimedialog.h"

#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>

GoToTimeDialog::GoToTimeDialog(qint64 minUs, qint64 maxUs, qint64 currentUs,
                               const QTimeZone &zone, QWidget *parent)
    : QDialog(parent)
    , edit(new QDateTimeEdit(this))
    , minimum(minUs)
    , maximum(std::max(minUs, maxUs))
{
    setWindowTitle(tr("Go to Time"));
    edit->setObjectName(QStringLiteral("goToTimeEdit"));
    // The edit shows UTC shifted by the recording's offset: the wall time where it was
    // recorded, whatever the zone of this machine.
    offsetMs = qint64(zone.offsetFromUtc(QDateTime::fromMSecsSinceEpoch(minimum / 1000, Qt::UTC))) * 1000;
    edit->setTimeSpec(Qt::UTC);
    const QDateTime low = QDateTime::fromMSecsSinceEpoch(minimum / 1000 + offsetMs, Qt::UTC);
    const QDateTime high = QDateTime::fromMSecsSinceEpoch((maximum + 999) / 1000 + offsetMs, Qt::UTC);
    const bool days = low.date() != high.date();
    edit->setDisplayFormat(days ? QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")
                                : QStringLiteral("HH:mm:ss.zzz"));
    edit->setDateTimeRange(low, high);
    edit->setDateTime(QDateTime::fromMSecsSinceEpoch(
        std::clamp(currentUs, minimum, maximum) / 1000 + offsetMs, Qt::UTC));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *form = new QFormLayout(this);
    form->addRow(tr("Time:"), edit);
    form->addRow(buttons);
}

qint64 GoToTimeDialog::timeUs() const
{
    return std::clamp((edit->dateTime().toMSecsSinceEpoch() - offsetMs) * 1000, minimum, maximum);
}
