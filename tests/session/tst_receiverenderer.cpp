#include "common/textcontrast.h"
#include "connection/rxdata.h"
#include "session/receiverenderer.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QtTest>

#include <memory>

namespace {
const QDateTime T0(QDate(2026, 3, 4), QTime(10, 0, 0));

rxData record(const QByteArray &bytes, qint64 ms = 0, RXorTx direction = Received)
{
    rxData rx;
    rx.time = T0.addMSecs(ms);
    rx.direction = direction;
    rx.data = bytes;
    return rx;
}

// Counts what the renderer reports to a find bar.
class TrimListener : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE void noteTrimmedChars(int count) { trimmed += count; }
    int trimmed = 0;
};
} // namespace

class TestReceiveRenderer : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void shownText_data();
    void shownText();
    void skippedFeedStaysReachable();
    void colours();
    void spanOfRecord_data();
    void spanOfRecord();
    void oneByteReadsMerge_data();
    void oneByteReadsMerge();
    void trimKeepsPositionsAndPlace_data();
    void trimKeepsPositionsAndPlace();
    void followsTheEndUntilTheUserScrollsUp();
    void clearForgetsHeldBytes();

private:
    std::unique_ptr<QPlainTextEdit> view;
    FormatSetting format;
    std::unique_ptr<ReceiveRenderer> renderer;
};

void TestReceiveRenderer::init()
{
    renderer.reset();
    view = std::make_unique<QPlainTextEdit>();
    view->setReadOnly(true);
    view->resize(400, 200);
    view->show();
    format = FormatSetting();
    format.rxTimeFormat = QStringLiteral("[hh:mm:ss.zzz] ");
    format.txTimeFormat = QStringLiteral("<hh:mm:ss.zzz> ");
    renderer = std::make_unique<ReceiveRenderer>(view.get(), &format);
}

void TestReceiveRenderer::shownText_data()
{
    // One letter per record in `kinds`: r received, t sent, e local echo, s system line.
    QTest::addColumn<QByteArrayList>("records");
    QTest::addColumn<QList<int>>("ms");
    QTest::addColumn<QString>("kinds");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("stamps");
    QTest::addColumn<QString>("shown");

    const QList<int> zeros(8, 0);
    QTest::newRow("lone LF after ended line")
        << QByteArrayList{"abc\n", "\n", "d"} << zeros << "rrr" << false << false << "abc\nd";
    QTest::newRow("LF ends an open line")
        << QByteArrayList{"abc", "\n", "d"} << zeros << "rrr" << false << false << "abc\nd";
    QTest::newRow("control byte and tab")
        << QByteArrayList{"a\x01\tb"} << zeros << "r" << false << false << u"a\u25A1\tb"_qs;
    QTest::newRow("CR LF, colours off")
        << QByteArrayList{"a\r\nb"} << zeros << "r" << false << false << "a\nb";
    QTest::newRow("CR LF split") << QByteArrayList{"a\r", "\n", "b\r"} << zeros << "rrr" << false
                                 << false << "a\nb";
    QTest::newRow("lone CR shows nothing and keeps the line state")
        << QByteArrayList{"abc\n", "\r", "\n", "d"} << zeros << "rrrr" << false << false
        << "abc\nd";
    QTest::newRow("UTF-8 split over records")
        << QByteArrayList{"x\xC3", "\xA4y"} << zeros << "rr" << false << false << u"x\u00E4y"_qs;
    QTest::newRow("hex 3 ms gaps stay on a line")
        << QByteArrayList{"\x01", "\x02", "\x03", "\x04"} << QList<int>{0, 3, 6, 9} << "rrrr"
        << true << false << "01 02 03 04 ";
    QTest::newRow("hex 25 ms gap breaks")
        << QByteArrayList{"\x01", "\x02", "\x03"} << QList<int>{0, 3, 28} << "rrr" << true << false
        << "01 02 \n03 ";
    QTest::newRow("stamped text") << QByteArrayList{"hi\nyo\n"} << QList<int>{1} << "r" << false
                                  << true << "[10:00:00.001] hi\n[10:00:00.001] yo\n";
    QTest::newRow("stamped hex") << QByteArrayList{"AB", "C"} << QList<int>{0, 30} << "rr" << true
                                 << true << "[10:00:00.000] 41 42 \n[10:00:00.030] 43 ";
    QTest::newRow("sent text after open line") << QByteArrayList{"abc", "cmd\n", "ok"} << zeros
                                               << "rtr" << false << false << "abc\ncmd\nok";
    QTest::newRow("local echo continues the line")
        << QByteArrayList{"$ ", "ls\r", "x\r\n"} << zeros << "ree" << false << false << "$ ls\nx\n";
    QTest::newRow("system line on a line of its own")
        << QByteArrayList{"abc", "note", "d"} << zeros << "rsr" << false << false << "abc\nnote\nd";
}

void TestReceiveRenderer::shownText()
{
    QFETCH(QByteArrayList, records);
    QFETCH(QList<int>, ms);
    QFETCH(QString, kinds);
    QFETCH(bool, hex);
    QFETCH(bool, stamps);
    QFETCH(QString, shown);

    format.receiveMsgFormat = hex ? HexFormat : TextFormat;
    format.displayMsgTime = stamps;
    format.rxAutoFeedLine = hex;
    format.autoFeedInterval = 20;
    QString returned;
    for (qsizetype i = 0; i < records.size(); ++i) {
        if (kinds[i] == u's') {
            renderer->appendSystemLine(QString::fromUtf8(records[i]));
            continue;
        }
        rxData rx = record(records[i], ms[i], kinds[i] == u'r' ? Received : Sent);
        rx.isLocalEcho = kinds[i] == u'e';
        returned += renderer->render(rx);
    }
    QCOMPARE(view->toPlainText(), shown);
    if (!kinds.contains(u's')) {
        QCOMPARE(returned, shown);
    }
}

void TestReceiveRenderer::skippedFeedStaysReachable()
{
    renderer->render(record("abc\n"));
    QCOMPARE(renderer->render(record("\n")), QString());
    QCOMPARE(renderer->spanIndex().chainBytes(Received), QByteArray("\n"));
    renderer->render(record("def"));
    const QList<DisplaySpan> hit = renderer->spanIndex().intersecting(renderer->streamPosition(4),
                                                                      renderer->streamPosition(5));
    QCOMPARE(hit.size(), 1);
    QCOMPARE(hit.front().bytes, QByteArray("\ndef"));
}

void TestReceiveRenderer::colours()
{
    const QPalette palette = view->palette();
    const auto colourAt = [this](int position) {
        QTextCursor cursor(view->document());
        cursor.setPosition(position);
        return cursor.charFormat();
    };
    format.formatDisplayColor = true;
    format.receiveTextColor = QStringLiteral("#ffff00"); // unreadable on a light base
    format.sendTextColor = QStringLiteral("#0000ff");
    renderer->render(record("rx"));
    renderer->render(record("tx", 0, Sent));
    format.formatDisplayColor = false;
    renderer->render(record("plain"));

    const QColor yellow = TextContrast::readableTextColor(
        QColor(0xffff00), palette.color(QPalette::Base), palette.color(QPalette::Text));
    QVERIFY(yellow != QColor(0xffff00));
    QCOMPARE(colourAt(1).foreground().color(), yellow);
    QCOMPARE(colourAt(4).foreground().color(), QColor(0x0000ff));
    QVERIFY(!colourAt(7).hasProperty(QTextFormat::ForegroundBrush));
}

void TestReceiveRenderer::spanOfRecord_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("stamps");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<int>("prefix");
    QTest::addColumn<QString>("stamp");
    QTest::addColumn<bool>("isUtf8");

    const QString stamp = QStringLiteral("[10:00:00.005] ");
    QTest::newRow("text") << QByteArray() << false << false << "UTF-8" << 0 << "" << true;
    QTest::newRow("stamped") << QByteArray() << false << true << "UTF-8" << 15 << stamp << true;
    QTest::newRow("stamped after open line")
        << QByteArray("x") << false << true << "UTF-8" << 16 << stamp << true;
    QTest::newRow("hex") << QByteArray() << true << false << "UTF-8" << 0 << "" << true;
    QTest::newRow("GBK") << QByteArray() << false << false << "GBK" << 0 << "" << false;
}

void TestReceiveRenderer::spanOfRecord()
{
    QFETCH(QByteArray, before);
    QFETCH(bool, hex);
    QFETCH(bool, stamps);
    QFETCH(QString, encoding);
    QFETCH(int, prefix);
    QFETCH(QString, stamp);
    QFETCH(bool, isUtf8);

    format.receiveMsgFormat = hex ? HexFormat : TextFormat;
    format.displayMsgTime = stamps;
    format.receiveEncoding = encoding;
    renderer->resetDecoders();
    if (!before.isEmpty()) {
        renderer->render(record(before));
    }
    const int start = view->document()->characterCount() - 1;
    rxData rx = record("AB", 5);
    rx.raw = "A\x1b[mB";
    rx.peer = QStringLiteral("10.0.0.2:9");
    renderer->render(rx);

    const DisplaySpan &span = renderer->spanIndex().spans().back();
    QCOMPARE(span.docStart, start);
    QCOMPARE(span.prefixLength, prefix);
    QCOMPARE(span.docLength, hex ? 6 : 2);
    QCOMPARE(span.timestampText, stamp);
    QCOMPARE(span.isHex, hex);
    QCOMPARE(span.isUtf8, isUtf8);
    QCOMPARE(span.bytes, rx.raw);
    QCOMPARE(span.peer, rx.peer);
    QCOMPARE(span.timeUs, T0.addMSecs(5).toMSecsSinceEpoch() * 1000);
    QCOMPARE(renderer->frameTimeAt(start + prefix), span.timeUs);
}

void TestReceiveRenderer::oneByteReadsMerge_data()
{
    QTest::addColumn<bool>("hex");
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("lineLength");
    QTest::addColumn<int>("spans");

    // Kept short: every read lays out its whole line again.
    QTest::newRow("text without line ends") << false << 1000 << 0 << 1;
    QTest::newRow("text lines of 50") << false << 1000 << 50 << 20;
    QTest::newRow("hex") << true << 600 << 0 << 1;
}

void TestReceiveRenderer::oneByteReadsMerge()
{
    QFETCH(bool, hex);
    QFETCH(int, bytes);
    QFETCH(int, lineLength);
    QFETCH(int, spans);

    format.receiveMsgFormat = hex ? HexFormat : TextFormat;
    for (int i = 0; i < bytes; ++i) {
        const bool lineEnd = lineLength > 0 && i % lineLength == lineLength - 1;
        renderer->render(record(QByteArray(1, lineEnd ? '\n' : char('a' + i % 26))));
    }
    QCOMPARE(renderer->spanIndex().size(), spans);
    QCOMPARE(renderer->spanIndex().byteTotal(), bytes);
}

void TestReceiveRenderer::trimKeepsPositionsAndPlace_data()
{
    QTest::addColumn<bool>("scrolledBack");
    QTest::addColumn<bool>("batched"); // the records after the trim come in a batch
    QTest::newRow("at the end") << false << false;
    QTest::newRow("scrolled back") << true << false;
    QTest::newRow("at the end, batched") << false << true;
    QTest::newRow("scrolled back, batched") << true << true;
}

void TestReceiveRenderer::trimKeepsPositionsAndPlace()
{
    QFETCH(bool, scrolledBack);
    QFETCH(bool, batched);

    TrimListener bar;
    renderer->setFindBar(&bar);
    format.displayBufferSize = 0; // the floor of 1 MiB characters applies
    QCOMPARE(renderer->characterBudget(), ReceiveRenderer::MinimumCharacterBudget);

    // Records of 16 lines of 64 characters, each record 1 ms after the one before.
    auto recordText = [](int n) {
        QByteArray line = QByteArray::number(n).rightJustified(8, '0') + QByteArray(55, '.');
        return (line + '\n').repeated(16);
    };
    const int records = ReceiveRenderer::MinimumCharacterBudget / (16 * 64) + 30;
    for (int n = 0; n < records; ++n) {
        renderer->render(record(recordText(n), n));
    }
    QScrollBar *scroll = view->verticalScrollBar();
    QCOMPARE(scroll->value(), scroll->maximum());
    if (scrolledBack) {
        // As a drag of the scroll bar does it.
        scroll->setSliderPosition(scroll->maximum() / 4 * 3);
    }
    const int topBefore = view->cursorForPosition(QPoint(0, 0)).position();
    const QString topLine = view->document()->findBlock(topBefore).text();

    const int removed = renderer->trimToBudget();
    QCOMPARE(removed, ReceiveRenderer::MinimumCharacterBudget / 2);
    QCOMPARE(bar.trimmed, removed);
    QCOMPARE(renderer->spanIndex().trimmedChars(), removed);
    QCOMPARE(renderer->trimToBudget(), 0);

    // The first record that the trim left whole is found by its document position.
    QTextBlock block = view->document()->firstBlock();
    const int cut = block.text().left(8).toInt();
    while (block.text().left(8).toInt() == cut) {
        block = block.next();
    }
    const int n = cut + 1;
    QCOMPARE(renderer->frameTimeAt(block.position() + 3),
             T0.addMSecs(n).toMSecsSinceEpoch() * 1000);
    const QList<DisplaySpan> hit = renderer->spanIndex().intersecting(
        renderer->streamPosition(block.position()), renderer->streamPosition(block.position() + 1));
    QCOMPARE(hit.size(), 1);
    QCOMPARE(hit.front().bytes, recordText(n));
    QCOMPARE(hit.front().docStart, qint64(removed) + block.position());

    if (batched) {
        renderer->beginBatch();
    }
    const int tailStart = view->document()->characterCount() - 1;
    for (int i = 0; i < 50; ++i) {
        renderer->render(record("tail\n", records + i));
    }
    QCOMPARE(renderer->spanIndex().spans().back().docStart, removed + tailStart + 49 * 5);
    renderer->endBatch();
    if (scrolledBack) {
        const int topAfter = view->cursorForPosition(QPoint(0, 0)).position();
        QCOMPARE(view->document()->findBlock(topAfter).text(), topLine);
        QCOMPARE(topAfter, topBefore - removed);
        QVERIFY(scroll->value() < scroll->maximum());
    } else {
        QCOMPARE(scroll->value(), scroll->maximum());
    }
}

// The view follows new data through layout changes until the user scrolls up, tells when
// it stops following, and follows again on request.
void TestReceiveRenderer::followsTheEndUntilTheUserScrollsUp()
{
    QList<bool> changes;
    renderer->followingChanged = [&changes](bool following) { changes << following; };
    for (int i = 0; i < 200; ++i) {
        renderer->render(record(QByteArray::number(i) + " a line long enough to wrap anew\n", i));
    }
    QScrollBar *bar = view->verticalScrollBar();
    QCOMPARE(bar->value(), bar->maximum());
    // The panel narrows: lines wrap anew and the view stays at the end.
    view->resize(150, 200);
    QCoreApplication::processEvents();
    renderer->render(record("next\n", 300));
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), bar->maximum());
    view->resize(500, 120);
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), bar->maximum());
    QVERIFY(renderer->followingEnd());
    QVERIFY(changes.isEmpty());

    // The user drags the bar up: the view keeps its place under new data.
    bar->setSliderPosition(bar->maximum() / 2);
    QVERIFY(!renderer->followingEnd());
    const int place = bar->value();
    renderer->render(record("more\n", 400));
    QCOMPARE(bar->value(), place);
    renderer->followEnd();
    QCOMPARE(bar->value(), bar->maximum());
    renderer->render(record("last\n", 500));
    QCOMPARE(bar->value(), bar->maximum());
    QCOMPARE(changes, QList<bool>({false, true}));
}

void TestReceiveRenderer::clearForgetsHeldBytes()
{
    renderer->render(record("abc\xC3"));
    renderer->clear();
    QCOMPARE(renderer->render(record("x")), QStringLiteral("x"));
    QCOMPARE(renderer->spanIndex().size(), 1);
    QCOMPARE(renderer->spanIndex().spans().front().docStart, 0);
    QCOMPARE(renderer->spanIndex().spans().front().bytes, QByteArray("x"));
}

QTEST_MAIN(TestReceiveRenderer)
#include "tst_receiverenderer.moc"
