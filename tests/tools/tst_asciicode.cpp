#include "tools/asciicode.h"

#include <QTableWidget>
#include <QtTest>

class TestAsciiCode : public QObject
{
    Q_OBJECT
private slots:
    void rows_data();
    void rows();
};

void TestAsciiCode::rows_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("cells");
    QTest::newRow("NUL") << 0 << QStringList{"00000000", "0", "00", "NUL", "\\0 Null character"};
    QTest::newRow("LF") << 10 << QStringList{"00001010", "10", "0A", "LF", "\\n Line feed"};
    QTest::newRow("DC1") << 17
                         << QStringList{"00010001", "17", "11", "DC1",
                                        "Device Control 1 (oft. XON)"};
    QTest::newRow("ESC") << 27 << QStringList{"00011011", "27", "1B", "ESC", "\\e Escape"};
    QTest::newRow("US") << 31 << QStringList{"00011111", "31", "1F", "US", "Unit Separator"};
    QTest::newRow("space") << 32 << QStringList{"00100000", "32", "20", " ", "Space"};
    QTest::newRow("A") << 65 << QStringList{"01000001", "65", "41", "A", ""};
    QTest::newRow("tilde") << 126 << QStringList{"01111110", "126", "7E", "~", ""};
    QTest::newRow("DEL") << 127 << QStringList{"01111111", "127", "7F", "DEL", "Delete"};
}

void TestAsciiCode::rows()
{
    QFETCH(int, code);
    QFETCH(QStringList, cells);
    AsciiCode chart;
    auto *table = chart.findChild<QTableWidget *>(QStringLiteral("tableWidget"));
    QVERIFY(table);
    QCOMPARE(table->rowCount(), 128);
    for (int column = 0; column < 5; ++column) {
        QCOMPARE(table->item(code, column)->text(), cells.at(column));
        QVERIFY(!(table->item(code, column)->flags() & Qt::ItemIsEditable));
    }
}

QTEST_MAIN(TestAsciiCode)
#include "tst_asciicode.moc"
