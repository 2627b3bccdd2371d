#include "session/receivefindbar.h"
#include "session/receiverenderer.h"
#include "connection/rxdata.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QVBoxLayout>
#include <QtTest>

#include <memory>

class TestReceiveFindBar : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void cleanup();
    void followsTheStream();
    void filterHidesLinesAndEscRestores_data();
    void filterHidesLinesAndEscRestores();
    void survivesATrim();
    void findTextGoesToTheLastPlace();

private:
    void show(const QByteArray &text);
    int visibleBlocks() const;

    std::unique_ptr<QWidget> panel;
    QPlainTextEdit *view = nullptr;
    ReceiveFindBar *bar = nullptr;
    FormatSetting format;
    std::unique_ptr<ReceiveRenderer> renderer;
};

void TestReceiveFindBar::init()
{
    panel = std::make_unique<QWidget>();
    auto *layout = new QVBoxLayout(panel.get());
    view = new QPlainTextEdit(panel.get());
    view->setReadOnly(true);
    layout->addWidget(view);
    bar = new ReceiveFindBar(view, panel.get(), panel.get());
    layout->addWidget(bar);
    panel->resize(500, 300);
    panel->show();
    QVERIFY(QTest::qWaitForWindowExposed(panel.get()));
    format = FormatSetting();
    renderer = std::make_unique<ReceiveRenderer>(view, &format);
    renderer->setFindBar(bar);
}

void TestReceiveFindBar::cleanup()
{
    renderer.reset();
    panel.reset();
}

void TestReceiveFindBar::show(const QByteArray &text)
{
    rxData rx;
    rx.time = QDateTime::currentDateTime();
    rx.data = text;
    renderer->render(rx);
}

int TestReceiveFindBar::visibleBlocks() const
{
    int count = 0;
    for (QTextBlock block = view->document()->begin(); block.isValid(); block = block.next()) {
        count += block.isVisible() ? 1 : 0;
    }
    return count;
}

void TestReceiveFindBar::followsTheStream()
{
    show("boot\n");
    // Ctrl+F in the panel opens the bar on the edit.
    QTest::keyClick(view, Qt::Key_F, Qt::ControlModifier);
    QVERIFY(bar->active());
    auto *edit = bar->findChild<QLineEdit *>("receiveFindEdit");
    QTRY_VERIFY(edit->hasFocus());
    QTest::keyClicks(edit, "ok");
    QCOMPARE(bar->statusText(), QStringLiteral("0/0"));

    // Matches that arrive after the bar opened are counted, and the current one stays.
    show("first OK\n");
    QTRY_COMPARE(bar->statusText(), QStringLiteral("1/1"));
    show("noise\nsecond ok and Ok\n");
    QTRY_COMPARE(bar->statusText(), QStringLiteral("1/3"));
    QTest::keyClick(edit, Qt::Key_F3);
    QCOMPARE(bar->statusText(), QStringLiteral("2/3"));
    QCOMPARE(view->textCursor().selectedText(), QStringLiteral("ok"));
    QTest::keyClick(edit, Qt::Key_F3, Qt::ShiftModifier);
    QTest::keyClick(edit, Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(bar->statusText(), QStringLiteral("3/3")); // wrapped
    QCOMPARE(view->extraSelections().size(), 3);

    // Case: only the exact spelling.
    bar->findChild<QCheckBox *>("receiveFindCaseBox")->setChecked(true);
    QCOMPARE(bar->statusText(), QStringLiteral("1/1"));
    QCOMPARE(bar->matchList().first().first, view->toPlainText().indexOf("ok"));

    // A line that grows across records is searched again as a whole.
    show("part o");
    show("k\n");
    QTRY_COMPARE(bar->statusText(), QStringLiteral("1/2"));

    QTest::keyClick(edit, Qt::Key_Escape);
    QVERIFY(!bar->active());
    QVERIFY(bar->matchList().isEmpty());
    QVERIFY(view->extraSelections().isEmpty());
}

void TestReceiveFindBar::filterHidesLinesAndEscRestores_data()
{
    QTest::addColumn<bool>("scrolledUp");
    QTest::newRow("following the tail") << false;
    QTest::newRow("scrolled up") << true;
}

void TestReceiveFindBar::filterHidesLinesAndEscRestores()
{
    QFETCH(bool, scrolledUp);
    for (int i = 0; i < 3000; ++i) {
        show(QByteArray("line ") + QByteArray::number(i) + (i % 10 == 0 ? " ALARM\n" : "\n"));
    }
    const int blocks = view->document()->blockCount();
    bar->open();
    auto *edit = bar->findChild<QLineEdit *>("receiveFindEdit");
    edit->setText("ALARM"); // goes to the first match
    QScrollBar *scroll = view->verticalScrollBar();
    // As a drag of the scroll bar does it.
    scroll->setSliderPosition(scrolledUp ? 100 : scroll->maximum());
    QCOMPARE(scroll->value() == scroll->maximum(), !scrolledUp);
    const auto topLine = [this] { return view->cursorForPosition(QPoint(0, 0)).block().text(); };
    QCOMPARE(topLine(), scrolledUp ? QStringLiteral("line 100 ALARM") : topLine());

    // Following the tail, the view stays at the end; scrolled up, the line at the top stays.
    bar->findChild<QCheckBox *>("receiveFindFilterBox")->setChecked(true);
    QCOMPARE(visibleBlocks(), 300);
    if (scrolledUp) {
        QCOMPARE(topLine(), QStringLiteral("line 100 ALARM"));
    } else {
        QCOMPARE(scroll->value(), scroll->maximum());
    }

    // New lines are filtered as they come; a following view keeps following.
    show("line 300 ALARM\nline 301\n");
    QTRY_COMPARE(visibleBlocks(), 301);
    QTRY_COMPARE(bar->statusText(), QStringLiteral("1/301"));
    if (scrolledUp) {
        QCOMPARE(topLine(), QStringLiteral("line 100 ALARM"));
    } else {
        QCOMPARE(scroll->value(), scroll->maximum());
    }

    // A needle that nothing holds hides everything; Esc shows all again.
    edit->setText("nothing like this");
    QCOMPARE(visibleBlocks(), 0);
    QCOMPARE(bar->statusText(), QStringLiteral("0/0"));
    QTest::keyClick(edit, Qt::Key_Escape);
    QCOMPARE(visibleBlocks(), blocks + 2);
    QVERIFY(!bar->active());
}

void TestReceiveFindBar::survivesATrim()
{
    format.displayBufferSize = 0; // the floor of 1 MiB characters applies
    // Lines of 64 characters; every 1000th carries a numbered marker.
    const int lines = ReceiveRenderer::MinimumCharacterBudget / 64 + 2000;
    QByteArray block;
    for (int i = 0; i < lines; ++i) {
        QByteArray line = i % 1000 == 0 ? "MARK" + QByteArray::number(i).rightJustified(6, '0')
                                        : QByteArray::number(i).rightJustified(10, '0');
        block += line + QByteArray(63 - line.size(), '.') + '\n';
        if (block.size() >= 65536) {
            show(block);
            block.clear();
        }
    }
    show(block);
    bar->open();
    bar->findChild<QLineEdit *>("receiveFindEdit")->setText("MARK");
    const int before = int(bar->matchList().size());
    QCOMPARE(before, lines / 1000 + 1);
    // Stand on the last marker but three.
    bar->moveMatch(-4);
    const QString marker = view->document()->findBlock(view->textCursor().position()).text().left(10);
    QCOMPARE(marker, QStringLiteral("MARK%1").arg((lines / 1000 - 3) * 1000, 6, 10, QChar(u'0')));

    const int removed = renderer->trimToBudget();
    QVERIFY(removed > 0);
    QTRY_VERIFY(bar->matchList().size() < before);
    // Positions follow the text: every match still points at a marker, and the current
    // one is the same marker as before.
    const QString text = view->toPlainText();
    for (const auto &[position, length] : bar->matchList()) {
        QCOMPARE(text.mid(position, length), QStringLiteral("MARK"));
    }
    const auto current = bar->matchList().at(bar->currentMatchIndex());
    QCOMPARE(text.mid(current.first, 10), marker);
    QCOMPARE(bar->statusText(), QStringLiteral("%1/%2").arg(bar->currentMatchIndex() + 1)
                                    .arg(bar->matchList().size()));
}

void TestReceiveFindBar::findTextGoesToTheLastPlace()
{
    format.receiveMsgFormat = HexFormat;
    show(QByteArray::fromHex("0103000A"));
    show(QByteArray::fromHex("550103000A"));
    QVERIFY(bar->findText(QStringLiteral("01 03 00 0A"), true));
    QVERIFY(bar->active());
    QCOMPARE(bar->statusText(), QStringLiteral("2/2"));
    QCOMPARE(view->textCursor().selectionStart(), bar->matchList().last().first);
    QVERIFY(!bar->findText(QStringLiteral("FF FF"), true));
    QCOMPARE(bar->statusText(), QStringLiteral("0/0"));
}

QTEST_MAIN(TestReceiveFindBar)
#include "tst_receivefindbar.moc"
