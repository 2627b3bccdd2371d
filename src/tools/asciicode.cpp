#include "tools/asciicode.h"

#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>

#include <iterator>

namespace {

// Abbreviations of the control codes 0 to 31; 127 is DEL.
const char *const controlAbbreviations[] = {
    "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "HT",  "LF",
    "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
    "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",
};
static_assert(std::size(controlAbbreviations) == 32);

// What the control codes 0 to 31 stand for, with the C escape of those that have one.
const char *const controlDescriptions[] = {
    QT_TRANSLATE_NOOP("AsciiCode", "\\0 Null character"),
    QT_TRANSLATE_NOOP("AsciiCode", "Start of Header"),
    QT_TRANSLATE_NOOP("AsciiCode", "Start of Text"),
    QT_TRANSLATE_NOOP("AsciiCode", "End of Text"),
    QT_TRANSLATE_NOOP("AsciiCode", "End of Transmission"),
    QT_TRANSLATE_NOOP("AsciiCode", "Enquiry"),
    QT_TRANSLATE_NOOP("AsciiCode", "Acknowledgment"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\a Bell"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\b Backspace"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\t Horizontal Tab"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\n Line feed"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\v Vertical Tab"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\f Form feed"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\r Carriage return"),
    QT_TRANSLATE_NOOP("AsciiCode", "Shift Out"),
    QT_TRANSLATE_NOOP("AsciiCode", "Shift In"),
    QT_TRANSLATE_NOOP("AsciiCode", "Data Link Escape"),
    QT_TRANSLATE_NOOP("AsciiCode", "Device Control 1 (oft. XON)"),
    QT_TRANSLATE_NOOP("AsciiCode", "Device Control 2"),
    QT_TRANSLATE_NOOP("AsciiCode", "Device Control 3 (oft. XOFF)"),
    QT_TRANSLATE_NOOP("AsciiCode", "Device Control 4"),
    QT_TRANSLATE_NOOP("AsciiCode", "Negative Acknowledgement"),
    QT_TRANSLATE_NOOP("AsciiCode", "Synchronous idle"),
    QT_TRANSLATE_NOOP("AsciiCode", "End of Transmission Block"),
    QT_TRANSLATE_NOOP("AsciiCode", "Cancel"),
    QT_TRANSLATE_NOOP("AsciiCode", "End of Medium"),
    QT_TRANSLATE_NOOP("AsciiCode", "Substitute"),
    QT_TRANSLATE_NOOP("AsciiCode", "\\e Escape"),
    QT_TRANSLATE_NOOP("AsciiCode", "File Separator"),
    QT_TRANSLATE_NOOP("AsciiCode", "Group Separator"),
    QT_TRANSLATE_NOOP("AsciiCode", "Record Separator"),
    QT_TRANSLATE_NOOP("AsciiCode", "Unit Separator"),
};
static_assert(std::size(controlDescriptions) == 32);

enum Column { BinaryColumn, DecimalColumn, HexColumn, GlyphColumn, DescriptionColumn };

} // namespace

AsciiCode::AsciiCode(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("ASCII Code Chart"));
    table = new QTableWidget(128, 5, this);
    table->setObjectName(QStringLiteral("tableWidget"));
    table->setHorizontalHeaderLabels(
        {tr("Binary"), tr("Decimal"), tr("Hex"), tr("Abbr/Glyph"), tr("Description")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    table->horizontalHeader()->setStretchLastSection(true);
    fillTable();
    table->resizeColumnsToContents();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(table);
    resize(620, 560);
}

void AsciiCode::fillTable()
{
    const auto put = [this](int row, int column, const QString &text, Qt::Alignment alignment) {
        auto *item = new QTableWidgetItem(text);
        item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
        item->setTextAlignment(alignment | Qt::AlignVCenter);
        table->setItem(row, column, item);
    };
    for (int code = 0; code < 128; ++code) {
        QString glyph;
        QString description;
        if (code < 32) {
            glyph = QLatin1String(controlAbbreviations[code]);
            description = tr(controlDescriptions[code]);
        } else if (code == 127) {
            glyph = QStringLiteral("DEL");
            description = tr("Delete");
        } else {
            glyph = QChar(char16_t(code));
            if (code == 32) {
                description = tr("Space");
            }
        }
        // Binary shows all eight bits of the byte the code travels in.
        put(code, BinaryColumn, QString::number(code, 2).rightJustified(8, u'0'), Qt::AlignRight);
        put(code, DecimalColumn, QString::number(code), Qt::AlignRight);
        put(code, HexColumn, QString::number(code, 16).toUpper().rightJustified(2, u'0'),
            Qt::AlignRight);
        put(code, GlyphColumn, glyph, Qt::AlignHCenter);
        put(code, DescriptionColumn, description, Qt::AlignLeft);
    }
}
