#include "tools/crcengine.h"

#include <QRandomGenerator>
#include <QtTest>

namespace {

QByteArray randomBytes(QRandomGenerator &random, int size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &c : bytes) {
        c = char(random.bounded(256));
    }
    return bytes;
}

// Parameters for `width` from random bits. The values sometimes carry bits above the
// width, which both paths must mask away in the same way.
CrcCatalog::CustomParameters randomParameters(QRandomGenerator &random, int width, bool in,
                                              bool out)
{
    const quint64 mask = random.bounded(4) == 0 ? ~quint64(0) : CrcCatalog::maskForWidth(width);
    return {width,
            random.generate64() & mask,
            random.generate64() & mask,
            random.generate64() & mask,
            in,
            out};
}

QString describe(const CrcCatalog::CustomParameters &p, qsizetype offset, qsizetype size)
{
    return QStringLiteral("width %1 poly %2 init %3 xorout %4 refin %5 refout %6, %7 bytes at %8")
        .arg(p.width)
        .arg(p.polynomial, 0, 16)
        .arg(p.initial, 0, 16)
        .arg(p.finalXor, 0, 16)
        .arg(p.reflectInput)
        .arg(p.reflectOutput)
        .arg(size)
        .arg(offset);
}

} // namespace

class TestCrcEngine : public QObject
{
    Q_OBJECT
private slots:
    void tablesMatchDefinition_data();
    void tablesMatchDefinition();
    void cacheKeepsParameterSetsApart();
};

void TestCrcEngine::tablesMatchDefinition_data()
{
    QTest::addColumn<int>("width");
    for (int width = 1; width <= 64; ++width) {
        QTest::addRow("width %d", width) << width;
    }
}

// Random parameter sets and buffers; the buffers start at every offset within eight
// bytes and end anywhere, so the eight-byte steps meet every alignment and tail. The
// first rounds take polynomials at the extremes (1, all ones, the top bit alone) with
// all-zero or all-one initial values and final XORs.
void TestCrcEngine::tablesMatchDefinition()
{
    QFETCH(int, width);
    QRandomGenerator random{quint32(width * 7919)};
    const QByteArray pool = randomBytes(random, 600);
    const quint64 mask = CrcCatalog::maskForWidth(width);
    const quint64 extremes[] = {1, mask, quint64(1) << (width - 1)};
    for (int round = 0; round < 64; ++round) {
        auto p = randomParameters(random, width, round & 1, round & 2);
        if (round < 24) {
            p.polynomial = extremes[round % 3];
            p.initial = (round & 4) ? mask : 0;
            p.finalXor = (round & 8) ? mask : 0;
        }
        const qsizetype offset = round % 8;
        const qsizetype size = round < 8 ? round * 3 : random.bounded(1, 590);
        const QByteArrayView bytes = QByteArrayView(pool).sliced(offset, size);
        const quint64 expected = CrcEngine::bitwise(bytes, p);
        if (CrcEngine::tableDriven(bytes, p) != expected) {
            QFAIL(qPrintable(describe(p, offset, size)));
        }
    }
}

// More parameter sets than the cache holds, in turns: a set must never be served
// another set's tables, whether it was kept or evicted.
void TestCrcEngine::cacheKeepsParameterSetsApart()
{
    QRandomGenerator random{42};
    const QByteArray input = randomBytes(random, 100);
    std::vector<CrcCatalog::CustomParameters> sets;
    for (int i = 0; i < 20; ++i) {
        // Pairs that differ only in width or only in input reflection, the cache's key.
        const auto p = randomParameters(random, 12 + i, i & 1, false);
        sets.push_back(p);
        auto sibling = p;
        sibling.width += 1;
        sets.push_back(sibling);
        sibling = p;
        sibling.reflectInput = !p.reflectInput;
        sets.push_back(sibling);
    }
    for (int pass = 0; pass < 3; ++pass) {
        for (std::size_t i = 0; i < sets.size(); i += pass + 1) {
            QCOMPARE(CrcEngine::tableDriven(input, sets[i]), CrcEngine::bitwise(input, sets[i]));
        }
    }
}

QTEST_GUILESS_MAIN(TestCrcEngine)
#include "tst_crcengine.moc"
