#include "recording/sessionrecorder.h"

#include <QtTest>

class TestSessionRecorder : public QObject
{
    Q_OBJECT
private slots:
    void mergesCloseReceptions_data();
    void mergesCloseReceptions();
    void evictsTheOldestAndKeepsCounting();
    void settled();
    void notesClearAndCapacity();
};

namespace {

struct Arrival
{
    Arrival() = default;
    Arrival(int kind, qint64 t, int size, const QString &peer = {})
        : kind(kind)
        , t(t)
        , size(size)
        , peer(peer)
    {}
    int kind = SessionEvent::Rx;
    qint64 t = 0;
    int size = 1;
    QString peer;
};

} // namespace

Q_DECLARE_METATYPE(QList<Arrival>)

void TestSessionRecorder::mergesCloseReceptions_data()
{
    QTest::addColumn<QList<Arrival>>("arrivals");
    QTest::addColumn<QList<int>>("sizes"); // of the events held afterwards

    const int rx = SessionEvent::Rx;
    const int tx = SessionEvent::Tx;
    QTest::newRow("900 us apart join") << QList<Arrival>{{rx, 1000, 3}, {rx, 1900, 4}}
                                       << QList<int>{7};
    QTest::newRow("1100 us apart stay two") << QList<Arrival>{{rx, 1000, 3}, {rx, 2100, 4}}
                                            << QList<int>{3, 4};
    QTest::newRow("a dribble joins link by link")
        << QList<Arrival>{{rx, 0, 1}, {rx, 800, 1}, {rx, 1600, 1}, {rx, 2400, 1}}
        << QList<int>{4};
    QTest::newRow("4096 merged bytes join") << QList<Arrival>{{rx, 0, 2048}, {rx, 10, 2048}}
                                            << QList<int>{4096};
    QTest::newRow("4097 would not") << QList<Arrival>{{rx, 0, 2048}, {rx, 10, 2049}}
                                    << QList<int>{2048, 2049};
    QTest::newRow("another peer") << QList<Arrival>{{rx, 0, 1, "a"}, {rx, 10, 1, "b"}}
                                  << QList<int>{1, 1};
    QTest::newRow("sends never join") << QList<Arrival>{{tx, 0, 1}, {tx, 10, 1}}
                                      << QList<int>{1, 1};
    QTest::newRow("a send in between") << QList<Arrival>{{rx, 0, 1}, {tx, 10, 1}, {rx, 20, 1}}
                                       << QList<int>{1, 1, 1};
    QTest::newRow("time going back") << QList<Arrival>{{rx, 1000, 1}, {rx, 999, 1}}
                                     << QList<int>{1, 1};
    QTest::newRow("empty data records nothing") << QList<Arrival>{{rx, 0, 0}, {tx, 0, 0}}
                                                << QList<int>{};
}

void TestSessionRecorder::mergesCloseReceptions()
{
    QFETCH(QList<Arrival>, arrivals);
    QFETCH(QList<int>, sizes);
    SessionRecorder recorder;
    QByteArray all;
    char next = 'a';
    for (const Arrival &arrival : std::as_const(arrivals)) {
        QByteArray bytes(arrival.size, next++);
        all += bytes;
        if (arrival.kind == SessionEvent::Rx) {
            recorder.recordRx(bytes, arrival.peer, arrival.t);
        } else {
            recorder.recordTx(bytes, arrival.peer, arrival.t);
        }
    }
    QList<int> held;
    QByteArray kept;
    quint64 seq = 0;
    for (const SessionEvent &event : recorder.events()) {
        held.append(int(event.bytes.size()));
        kept += event.bytes;
        QCOMPARE(event.seq, ++seq);
    }
    QCOMPARE(held, sizes);
    // Merging keeps every byte in order, and the first arrival's time.
    QCOMPARE(kept, all);
    if (!arrivals.isEmpty() && !sizes.isEmpty()) {
        QCOMPARE(recorder.events().front().t, arrivals.first().t);
    }
    QCOMPARE(recorder.stats().payloadBytes, qint64(all.size()));
    QCOMPARE(recorder.stats().usedBytes,
             all.size() + SessionRecorder::EventOverhead * qint64(sizes.size()));
}

void TestSessionRecorder::evictsTheOldestAndKeepsCounting()
{
    // Room for two events of 60 bytes (each costs 200).
    SessionRecorder recorder(400);
    for (int i = 0; i < 5; ++i) {
        recorder.recordTx(QByteArray(60, char('0' + i)), QString(), i * 10);
    }
    QCOMPARE(recorder.events().size(), size_t(2));
    QCOMPARE(recorder.firstRetainedSeq(), 4U);
    QCOMPARE(recorder.latestSeq(), 5U);
    QCOMPARE(recorder.stats().evictedEvents, 3);
    QCOMPARE(recorder.stats().evictedBytes, 180);
    QCOMPARE(recorder.stats().txBytes, 300); // every byte ever sent
    QCOMPARE(recorder.countAfter(0), 2);
    QCOMPARE(recorder.countAfter(4), 1);
    QCOMPARE(recorder.countAfter(5), 0);
    QCOMPARE(recorder.eventsAfter(4).first().bytes, QByteArray(60, '4'));

    // One event larger than the whole capacity stays alone.
    recorder.recordRx(QByteArray(1000, 'x'), QString(), 100);
    QCOMPARE(recorder.events().size(), size_t(1));
    QCOMPARE(recorder.events().front().bytes.size(), 1000);

    // A smaller capacity evicts at once; below the overhead it is raised to it.
    SessionRecorder small;
    for (int i = 0; i < 10; ++i) {
        small.recordNote(QStringLiteral("n%1").arg(i), i);
    }
    small.setCapacity(1);
    QCOMPARE(small.capacity(), SessionRecorder::MinimumCapacity);
    QCOMPARE(small.events().size(), size_t(1));
    QCOMPARE(small.events().front().text, QStringLiteral("n9"));

    // Clearing drops what is held, and numbering goes on so a reader sees the gap.
    small.clear();
    QCOMPARE(small.firstRetainedSeq(), 11U);
    small.recordTx("a", QString(), 20);
    QCOMPARE(small.events().front().seq, 11U);

    // The count limit holds even when the bytes would fit.
    SessionRecorder many(qint64(1) << 40);
    for (qsizetype i = 0; i <= SessionRecorder::MaxEvents; ++i) {
        many.recordTx("x", QString(), i);
    }
    QCOMPARE(qsizetype(many.events().size()), SessionRecorder::MaxEvents);
    QCOMPARE(many.firstRetainedSeq(), 2U);
}

void TestSessionRecorder::settled()
{
    // Received data is open to growth for 1000 us after its last bytes, below 4096 bytes.
    struct Case
    {
        int kind;
        int size;
        qint64 now;
        bool open;
    };
    for (const Case &c : {Case{SessionEvent::Rx, 10, 2000, true}, Case{SessionEvent::Rx, 10, 2001, false},
                          Case{SessionEvent::Rx, 4096, 1000, false},
                          Case{SessionEvent::Tx, 10, 1000, false}}) {
        SessionRecorder recorder;
        QCOMPARE(recorder.settled(c.now), 0U);
        recorder.recordNote(QStringLiteral("start"), 0);
        if (c.kind == SessionEvent::Rx) {
            recorder.recordRx(QByteArray(c.size, 'r'), QString(), 1000);
        } else {
            recorder.recordTx(QByteArray(c.size, 't'), QString(), 1000);
        }
        QCOMPARE(recorder.settled(c.now), c.open ? 1U : 2U);
    }
}

void TestSessionRecorder::notesClearAndCapacity()
{
    SessionRecorder recorder;
    recorder.recordNote(QString(), 1);
    recorder.recordNote(QString(600, u'n'), 2);
    QCOMPARE(recorder.events().size(), size_t(1));
    QCOMPARE(recorder.events().front().text.size(), SessionRecorder::NoteLimit);
    QCOMPARE(recorder.events().front().kind, quint8(SessionEvent::Note));

    recorder.recordRx("before", QString(), 10);
    recorder.markClear(20);
    recorder.recordRx("after", QString(), 30000);
    recorder.recordTx("sent", QStringLiteral("10.0.0.1:502"), 40000);
    QCOMPARE(recorder.clearSeq(), 3U);
    QCOMPARE(recorder.events().at(2).text, QStringLiteral("Display cleared"));
    const QList<SessionEvent> after = recorder.eventsAfter(recorder.clearSeq());
    QCOMPARE(after.size(), 2);
    QCOMPARE(after.first().bytes, QByteArray("after"));
    QCOMPARE(recorder.events().size(), size_t(5)); // a clear drops nothing

    const QList<SessionEvent> window = recorder.tail(2, 15, 35000);
    QCOMPARE(window.size(), 2);
    QCOMPARE(window.at(0).seq, 3U);
    QCOMPARE(window.at(1).seq, 4U);

    const QList<std::pair<int, qint64>> capacities{
        {0, 8388608}, {1, 8388608}, {4, 8388608}, {5, 6710886}, {16, 2097152}, {100, 2097152}};
    for (const auto &[ports, bytes] : capacities) {
        QCOMPARE(SessionRecorder::capacityForPorts(ports), bytes);
    }
}

QTEST_GUILESS_MAIN(TestSessionRecorder)
#include "tst_sessionrecorder.moc"
