#pragma once

// A dialog of two small tools: a converter between hex and UTF-8 text, and a CRC
// calculator over the catalogue or custom parameters that can hand the input with its
// CRC to the send box.

#include "tools/crccatalog.h"

#include <QByteArray>
#include <QDialog>
#include <QString>
#include <QSysInfo>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QWidget;

class ToolBox : public QDialog
{
    Q_OBJECT
public:
    explicit ToolBox(QWidget *parent = nullptr);

    // Reads the parameter fields in order (width, polynomial, initial value, final XOR)
    // and stops at the first that fails, with its message in `error`.
    bool readCustomParameters(CrcCatalog::CustomParameters &parameters, QString &error) const;

    // `value` upper-case in `base` (16, 10, 8 or 2). Bases 16, 8 and 2 are padded with
    // zeros to the digits `width` bits take; base 10 is not padded.
    static QString formatCRC(quint64 value, int width, int base);
    // `value` as (width + 7) / 8 bytes in `order`; a width of 8 or less is one byte.
    static QByteArray wireBytes(quint64 value, int width, QSysInfo::Endian order);

signals:
    // The CRC frame (input bytes, then the wire bytes) as upper-case hex, bytes
    // separated by blanks.
    void insertRequested(const QString &hex);

private:
    QWidget *buildConverterPage();
    QWidget *buildCrcPage();

    void convertHexToText();
    void convertTextToHex();
    void showConverterError(const QString &error);

    CrcCatalog::Algorithm currentAlgorithm() const;
    void onAlgorithmChanged();
    void onCustomFieldChanged();
    void fillParameterFields(const CrcCatalog::CustomParameters &parameters);
    void calculate();
    void showResult();
    void showCrcError(const QString &error);
    void requestInsert();

    // Hex digits with white space anywhere between them, as bytes.
    static bool parseHex(const QString &text, QByteArray &bytes, QString &error);
    static QString toHex(const QByteArray &bytes);

    // Converter page.
    QPlainTextEdit *converterInput = nullptr;
    QPlainTextEdit *converterOutput = nullptr;
    QLabel *converterError = nullptr;

    // CRC page.
    QComboBox *inputFormatCombo = nullptr;
    QPlainTextEdit *crcInput = nullptr;
    QComboBox *algorithmCombo = nullptr;
    QLineEdit *widthEdit = nullptr;
    QLineEdit *polynomialEdit = nullptr;
    QLineEdit *initialEdit = nullptr;
    QLineEdit *finalXorEdit = nullptr;
    QCheckBox *reflectInputCheck = nullptr;
    QCheckBox *reflectOutputCheck = nullptr;
    QComboBox *baseCombo = nullptr;
    QLineEdit *resultEdit = nullptr;
    QComboBox *byteOrderCombo = nullptr;
    QLineEdit *wireBytesEdit = nullptr;
    QPushButton *copyValueButton = nullptr;
    QPushButton *copyBytesButton = nullptr;
    QPushButton *insertFrameButton = nullptr;
    QLabel *crcError = nullptr;

    // What the custom fields held when another algorithm was chosen, so that
    // returning to "Custom" brings them back.
    struct CustomFields
    {
        QString width;
        QString polynomial;
        QString initial;
        QString finalXor;
        bool reflectInput = false;
        bool reflectOutput = false;
    };
    CustomFields savedCustom;
    bool customShown = false;
    bool filling = false;

    // The last calculation.
    QByteArray inputBytes;
    quint64 resultValue = 0;
    int resultWidth = 0;
    bool hasResult = false;
};
