#include "decode/frametablemodel.h"
#include "faketemplate.h"
#include "modbusframes.h"

#include <QSignalSpy>
#include <QtTest>

using namespace frames;

class TestDecodeRunner : public QObject
{
    Q_OBJECT
private slots:
    void holdsFollowChoiceAndTemplates();
    void numbersKeepRisingAcrossDecoders();
    void silenceClosesAFrameOnTheTimer();
    void tableKeepsItsNewestRows();
};

namespace {

DecoderChoice choiceOf(quint8 kind, const QString &name = {}, bool visible = true)
{
    return {DecoderChoice::Kind(kind), name, visible};
}

QList<DecodedFrame> framesOf(const QSignalSpy &spy)
{
    QList<DecodedFrame> all;
    for (const QList<QVariant> &call : spy) {
        all += call.at(0).value<QList<DecodedFrame>>();
    }
    return all;
}

} // namespace

void TestDecodeRunner::holdsFollowChoiceAndTemplates()
{
    DecodeRunner runner;
    QSignalSpy generations(&runner, &DecodeRunner::generationChanged);
    QSignalSpy choices(&runner, &DecodeRunner::choiceChanged);
    QCOMPARE(runner.hold(), DecodeRunner::NoDecoder);

    struct Step
    {
        const char *what;
        std::function<void()> act;
        DecodeRunner::Hold hold;
        int generation;
    };
    const QList<Step> steps{
        {"Modbus RTU with the panel closed", [&] { runner.setChoice(choiceOf(1, {}, false)); },
         DecodeRunner::PanelClosed, 1},
        {"panel opened: same decoder kind", [&] { runner.setPanelVisible(true); },
         DecodeRunner::NoHold, 1},
        {"a template nobody has", [&] { runner.setChoice(choiceOf(4, "T")); },
         DecodeRunner::TemplateMissing, 2},
        {"the library brings it", [&] { runner.setTemplates(fakeLibrary({"T"})); },
         DecodeRunner::NoHold, 3},
        {"the same library again", [&] { runner.setTemplates(fakeLibrary({"T"})); },
         DecodeRunner::NoHold, 3},
        {"the template edited", [&] { runner.setTemplates(fakeLibrary({"T"}, "v2")); },
         DecodeRunner::NoHold, 4},
        {"renamed in the editor", [&] { runner.setTemplates(fakeLibrary({"U", "Broken"}, "v2"), {{"T", "U"}}); },
         DecodeRunner::NoHold, 5},
        {"a template that cannot decode", [&] { runner.setChoice(choiceOf(4, "Broken")); },
         DecodeRunner::TemplateInvalid, 6},
        {"back to U, then U deleted",
         [&] {
             runner.setChoice(choiceOf(4, "U"));
             runner.setTemplates(fakeLibrary({"Broken"}), {{"U", QString()}});
         },
         DecodeRunner::NoDecoder, 8},
    };
    for (const Step &step : steps) {
        step.act();
        QVERIFY2(runner.hold() == step.hold, step.what);
        QVERIFY2(int(runner.generation()) == step.generation, step.what);
        QCOMPARE(runner.hasDecoder(), step.hold == DecodeRunner::NoHold);
    }
    QCOMPARE(generations.size(), 8);
    // A rename moved the choice along, a deletion dropped it; both were told.
    QCOMPARE(choices.size(), 2);
    QCOMPARE(choices.at(0).at(0).value<DecoderChoice>().templateName, QStringLiteral("U"));
    QCOMPARE(runner.choice().kind, quint8(DecoderChoice::None));

    runner.setChoice(choiceOf(4, "Broken"));
    QCOMPARE(runner.holdError(), QStringLiteral("The length field lies outside the frame."));
    // Held, nothing is decoded and nothing is kept for later.
    QSignalSpy decoded(&runner, &DecodeRunner::framesDecoded);
    runner.ingestRx("abc", {});
    QCOMPARE(decoded.size(), 0);
}

void TestDecodeRunner::numbersKeepRisingAcrossDecoders()
{
    qint64 now = 0;
    const QDateTime wall(QDate(2026, 3, 4), QTime(5, 6, 7), Qt::UTC);
    DecodeRunner runner;
    runner.setClock([&now] { return now; });
    runner.setWallClock([&] { return wall.addMSecs(now); });
    QSignalSpy decoded(&runner, &DecodeRunner::framesDecoded);
    QSignalSpy paired(&runner, &DecodeRunner::framesPaired);

    // RTU: a silence closes each frame; the clock is the test's.
    runner.setChoice(choiceOf(1));
    runner.ingestTx(rtu("01 03 00 00 00 02"), {});
    now += 500;
    runner.tick();
    runner.ingestRx(rtu("01 03 04 00 0A 00 0B"), {});
    now += 500;
    runner.tick();
    QList<DecodedFrame> frames = framesOf(decoded);
    QCOMPARE(frames.size(), 2);
    QCOMPARE(frames.at(0).seq, 1U);
    QCOMPARE(frames.at(1).pairedSeq, 1U);
    QCOMPARE(frames.at(1).time, wall.addMSecs(500));
    const DecodedFrame firstGeneration = frames.at(0);
    QVERIFY(!runner.explain(firstGeneration).isEmpty());

    // Modbus TCP: numbers go on from 3, pairings come rebased, once the response is out.
    runner.setChoice(choiceOf(3));
    decoded.clear();
    runner.ingestTx(tcp(7, "01 03 00 00 00 01"), QStringLiteral("10.0.0.2:502"));
    runner.ingestRx(tcp(7, "01 03 02 00 2A"), QStringLiteral("10.0.0.2:502"));
    frames = framesOf(decoded);
    QCOMPARE(frames.size(), 2);
    QCOMPARE(frames.at(0).seq, 3U);
    QCOMPARE(frames.at(1).seq, 4U);
    QCOMPARE(frames.at(1).pairedSeq, 3U);
    QCOMPARE(frames.at(1).generation, runner.generation());
    QCOMPARE(paired.size(), 2);
    const auto update = paired.last().at(0).value<QList<PairUpdate>>().first();
    QCOMPARE(update.requestSeq, 3U);
    QCOMPARE(update.responseSeq, 4U);
    // A frame of an earlier decoder is not explained by this one.
    QVERIFY(runner.explain(firstGeneration).isEmpty());

    // Closing the panel drops the decoder; reopening starts a new one after 4.
    runner.setPanelVisible(false);
    runner.ingestRx(tcp(8, "01 03 02 00 2B"), {});
    runner.setPanelVisible(true);
    decoded.clear();
    runner.ingestRx(tcp(9, "01 03 02 00 2C"), {});
    QCOMPARE(framesOf(decoded).size(), 1);
    QCOMPARE(framesOf(decoded).first().seq, 5U);
    QCOMPARE(runner.lastSeq(), 5);
    QCOMPARE(runner.protocolName(), QStringLiteral("Modbus TCP"));

    // Flush: a half frame comes out when the port closes.
    decoded.clear();
    runner.ingestRx(tcp(10, "01 03 02 00 2D").left(5), {});
    runner.flush();
    QCOMPARE(framesOf(decoded).size(), 1);
    QCOMPARE(framesOf(decoded).first().status, FrameStatus::Incomplete);
}

void TestDecodeRunner::silenceClosesAFrameOnTheTimer()
{
    // On the system clock the runner's own timer ends a half RTU frame after the
    // silence.
    DecodeRunner runner;
    runner.setChoice(choiceOf(1));
    QSignalSpy decoded(&runner, &DecodeRunner::framesDecoded);
    runner.ingestTx(rtu("01 03 00 00 00 02").left(5), {});
    QCOMPARE(decoded.size(), 0);
    QVERIFY(runner.nextTimeoutMs() >= 0);
    QVERIFY(decoded.wait(5000));
    QCOMPARE(framesOf(decoded).first().raw, rtu("01 03 00 00 00 02").left(5));
}

void TestDecodeRunner::tableKeepsItsNewestRows()
{
    // The fullest table is in the panel test; here a pairing that comes too late, the
    // capacity's clamps and the rows as text.
    FrameTableModel model;
    model.setCapacity(5);
    QCOMPARE(model.capacity(), FrameTableModel::MinimumCapacity);
    model.setCapacity(1 << 30);
    QCOMPARE(model.capacity(), FrameTableModel::MaximumCapacity);
    model.setCapacity(100);
    QList<DecodedFrame> frames(101);
    for (quint64 seq = 1; seq <= 101; ++seq) {
        DecodedFrame &frame = frames[qsizetype(seq - 1)];
        frame.seq = seq;
        frame.raw = QByteArray(1, char(seq));
        frame.time = QDateTime(QDate(2026, 1, 1), QTime(1, 2, 3, 4));
        frame.peer = QStringLiteral("::ffff:10.0.0.1:502");
        frame.summary = QStringLiteral("s%1").arg(seq);
    }
    model.append(frames);
    QCOMPARE(model.droppedRows(), 1);
    QCOMPARE(model.rowForSeq(1), -1);
    QCOMPARE(model.rowForSeq(101), 99);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.applyPairs({{1, 3, 10}, {5, 6, 42}});
    QCOMPARE(changed.size(), 1);
    QCOMPARE(model.frameAt(model.rowForSeq(5)).latencyMs, 42);
    QCOMPARE(model.rowsText({0, 99}),
             QStringLiteral("2\t01:02:03.004\tRX\t10.0.0.1:502\t1\t02\ts2\tOK\n"
                            "101\t01:02:03.004\tRX\t10.0.0.1:502\t1\t65\ts101\tOK"));
}

QTEST_MAIN(TestDecodeRunner)
#include "tst_decoderunner.moc"
