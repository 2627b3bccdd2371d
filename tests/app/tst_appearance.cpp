#include "app/appearance.h"
#include "common/textcontrast.h"

#include <QApplication>
#include <QtTest>

class TestAppearance : public QObject
{
    Q_OBJECT
private slots:
    void fromSetting_data();
    void fromSetting();
    void contrast_data();
    void contrast();
    void readableTextColor_data();
    void readableTextColor();
    void palettesAreLegibleAndApplied();
};

void TestAppearance::fromSetting_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("mode");
    QTest::newRow("light") << QVariant(0) << 0;
    QTest::newRow("dark") << QVariant(1) << 1;
    QTest::newRow("dark as text") << QVariant("1") << 1;
    QTest::newRow("dark as word") << QVariant(" Dark ") << 1;
    QTest::newRow("out of range") << QVariant(2) << 0;
    QTest::newRow("negative") << QVariant(-1) << 0;
    QTest::newRow("garbage") << QVariant("banana") << 0;
    QTest::newRow("missing") << QVariant() << 0;
}

void TestAppearance::fromSetting()
{
    QFETCH(QVariant, stored);
    QFETCH(int, mode);
    const AppearanceMode read = Appearance::fromSetting(stored);
    QCOMPARE(int(read), mode);
    QCOMPARE(Appearance::toSetting(read), mode);
    QCOMPARE(Appearance::fromSetting(Appearance::toSetting(read)), read);
}

void TestAppearance::contrast_data()
{
    QTest::addColumn<QColor>("a");
    QTest::addColumn<QColor>("b");
    QTest::addColumn<double>("luminanceA");
    QTest::addColumn<double>("ratio");
    QTest::newRow("black on white") << QColor(Qt::black) << QColor(Qt::white) << 0.0 << 21.0;
    QTest::newRow("white on black") << QColor(Qt::white) << QColor(Qt::black) << 1.0 << 21.0;
    QTest::newRow("same colour") << QColor("#336699") << QColor("#336699") << 0.1247 << 1.0;
    QTest::newRow("grey 777 on white") << QColor("#777777") << QColor(Qt::white) << 0.1845 << 4.48;
    QTest::newRow("pure red on white") << QColor(Qt::red) << QColor(Qt::white) << 0.2126 << 4.0;
    QTest::newRow("pure green on black")
        << QColor(Qt::green) << QColor(Qt::black) << 0.7152 << 15.3;
}

void TestAppearance::contrast()
{
    QFETCH(QColor, a);
    QFETCH(QColor, b);
    QFETCH(double, luminanceA);
    QFETCH(double, ratio);
    QVERIFY(qAbs(TextContrast::relativeLuminance(a) - luminanceA) < 0.001);
    QVERIFY(qAbs(TextContrast::contrastRatio(a, b) - ratio) < 0.01);
    QCOMPARE(TextContrast::contrastRatio(a, b), TextContrast::contrastRatio(b, a));
}

void TestAppearance::readableTextColor_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<QColor>("base");
    QTest::addColumn<QColor>("text");
    QTest::addColumn<bool>("kept");
    QTest::addColumn<bool>("legible"); // reaches the minimum contrast

    const QColor darkBase = Appearance::darkPalette().color(QPalette::Base);
    const QColor darkText = Appearance::darkPalette().color(QPalette::Text);
    QTest::newRow("black on white kept")
        << QColor(Qt::black) << QColor(Qt::white) << QColor(Qt::black) << true << true;
    QTest::newRow("black on the dark palette")
        << QColor(Qt::black) << darkBase << darkText << false << true;
    QTest::newRow("navy on the dark palette")
        << QColor("#000080") << darkBase << darkText << false << true;
    QTest::newRow("mid grey on white")
        << QColor("#808080") << QColor(Qt::white) << QColor(Qt::black) << false << true;
    QTest::newRow("light text on dark kept") << darkText << darkBase << darkText << true << true;
    // Nothing along the way is better: the colour comes back as it was.
    QTest::newRow("base and text identical")
        << QColor(Qt::black) << darkBase << darkBase << true << false;
    QTest::newRow("text no better than the colour")
        << QColor("#222222") << darkBase << QColor("#1e1e1e") << true << false;
}

void TestAppearance::readableTextColor()
{
    QFETCH(QColor, color);
    QFETCH(QColor, base);
    QFETCH(QColor, text);
    QFETCH(bool, kept);
    QFETCH(bool, legible);

    const QColor result = TextContrast::readableTextColor(color, base, text);
    QCOMPARE(result == color, kept);
    const double ratio = TextContrast::contrastRatio(result, base);
    QCOMPARE(ratio >= TextContrast::MinimumContrast, legible);
    // Never less legible than what was asked for.
    QVERIFY(ratio >= TextContrast::contrastRatio(color, base));
    if (!kept && legible) {
        // Moved just far enough: legible, but not all the way to the text colour.
        QVERIFY2(ratio < TextContrast::MinimumContrast + 0.3, qPrintable(result.name()));
        QVERIFY(result != text);
    }
}

void TestAppearance::palettesAreLegibleAndApplied()
{
    for (const QPalette &p : {Appearance::lightPalette(), Appearance::darkPalette()}) {
        QVERIFY(TextContrast::contrastRatio(p.color(QPalette::Text), p.color(QPalette::Base)) >= 7);
        QVERIFY(TextContrast::contrastRatio(p.color(QPalette::WindowText),
                                          p.color(QPalette::Window)) >= 7);
        QVERIFY(TextContrast::contrastRatio(p.color(QPalette::HighlightedText),
                                          p.color(QPalette::Highlight)) >= 3);
    }
    Appearance::apply(AppearanceMode::Dark);
    QCOMPARE(Appearance::current(), AppearanceMode::Dark);
    QCOMPARE(QApplication::palette().color(QPalette::Base),
             Appearance::darkPalette().color(QPalette::Base));
    Appearance::apply(AppearanceMode::Light);
    QCOMPARE(QApplication::palette().color(QPalette::Base), QColor(Qt::white));
}

QTEST_MAIN(TestAppearance)
#include "tst_appearance.moc"
