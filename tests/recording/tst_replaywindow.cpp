#include "recording/recordsessiondialog.h"
#include "recording/replayindex.h"
#include "recording/replayportview.h"
#include "recording/replaywindow.h"
#include "recording/vlmlog.h"

#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QCheckBox>
#include <QTemporaryDir>
#include <QtTest>

class TestReplayWindow : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void playsOnItsClockAndSeeks();
    void opensALargeFileAtOnce();
    void findsAndKeepsBookmarks();
    void recordDialogAsksBeforeReplacing();

private:
    QString makeRecording(const QString &name, int events, int payload);
    QTemporaryDir dir;
};

namespace {
constexpr qint64 T0 = 1700000000000000;
}

void TestReplayWindow::initTestCase()
{
    QVERIFY(dir.isValid());
    QCoreApplication::setOrganizationName(QStringLiteral("VelmoraTest"));
    QCoreApplication::setApplicationName(QStringLiteral("tst_replaywindow"));
}

// Event i: port p1 for even i (text "line i"), p2 for odd i (sent), 100 ms apart.
QString TestReplayWindow::makeRecording(const QString &name, int events, int payload)
{
    QFile file(dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly)) {
        return {};
    }
    Vlmlog::RecordingHeader header;
    header.ports = {{"p1", "Sensor", "serial", "115200 8N1", "UTF-8", {}, "Text", {}, 0, 0},
                    {"p2", "Host", "tcp", "127.0.0.1:5000", {}, {}, "Hex", {}, 0, 0}};
    header.startedAt = T0;
    header.timeZone = QString::fromUtf8(QTimeZone::systemTimeZoneId());
    QByteArray out = Vlmlog::headerLine(header) + '\n';
    for (int i = 0; i < events; ++i) {
        SessionEvent event;
        event.t = T0 + qint64(i) * 100000;
        event.kind = i % 2 ? SessionEvent::Tx : SessionEvent::Rx;
        event.bytes = "line " + QByteArray::number(i) + '\n';
        if (payload > event.bytes.size()) {
            event.bytes += QByteArray(payload - event.bytes.size() - 1, 'x') + '\n';
        }
        out += Vlmlog::eventLine(event, i % 2 ? "p2" : "p1") + '\n';
        if (i == 5) {
            out += Vlmlog::bookmarkLine({event.t, "b1", {}, "boot done", {}}) + '\n';
        }
        if (out.size() > 1 << 20) {
            file.write(out);
            out.clear();
        }
    }
    out += Vlmlog::endLine(T0 + qint64(events) * 100000, "stopped", {}) + '\n';
    file.write(out);
    return file.fileName();
}

void TestReplayWindow::playsOnItsClockAndSeeks()
{
    ReplayWindow window;
    qint64 clock = 0;
    window.setClock([&clock] { return clock; });
    QString error;
    QVERIFY(window.openFile(makeRecording("small.vlmlog", 40, 0), true, &error));
    window.indexToEnd();
    window.show();
    QCOMPARE(window.portViews().size(), 2);
    QPlainTextEdit *sensor = window.portViews()[0]->textView();
    QCOMPARE(window.findChild<QWidget *>("replayPortView_p1"), window.portViews()[0]);

    window.setSpeed(1);
    window.setIdleCap(false, 2);
    window.play();
    QTRY_VERIFY(sensor->toPlainText().contains("line 0"));
    QVERIFY(!sensor->toPlainText().contains("line 2"));
    clock = 250000; // 250 ms: events 1 and 2 are due, 3 is not
    QTRY_VERIFY(sensor->toPlainText().contains("line 2"));
    QTRY_COMPARE(window.position(), 3);
    window.pause();
    clock = 10000000;
    QTest::qWait(50);
    QCOMPARE(window.position(), 3);
    QVERIFY(sensor->toPlainText().contains(QStringLiteral("★ boot done")) == false);

    // A seek shows what came before the target, bookmarks in place.
    window.seekToOrdinal(21);
    QCOMPARE(window.position(), 21);
    const QString text = sensor->toPlainText();
    QVERIFY(text.contains("line 20"));
    QVERIFY(!text.contains("line 22"));
    QVERIFY(text.contains(QStringLiteral("★ boot done")));
    window.stepBack();
    QCOMPARE(window.position(), 20);
    window.stepForward();
    QCOMPARE(window.position(), 21);
    window.seekToPlayUs(T0 + 3000000);
    QCOMPARE(window.position(), 30);

    // Fastest runs to the end and says so.
    window.setSpeed(0);
    window.play();
    QTRY_COMPARE(window.statusText(), QStringLiteral("End of the recording."));
    QCOMPARE(window.position(), 40);
    QString second;
    QVERIFY(!window.openFile(makeRecording("other.vlmlog", 2, 0), true, &second));
    QCOMPARE(second, QStringLiteral("This window already shows a recording."));
}

void TestReplayWindow::opensALargeFileAtOnce()
{
    // About 64 MiB: more than a dozen slices.
    const QString path = makeRecording("large.vlmlog", 16000, 4096);
    ReplayWindow window;
    QString error;
    QVERIFY(window.openFile(path, true, &error));
    QVERIFY(window.isIndexing());
    QVERIFY(window.index()->eventCount > 0);
    QVERIFY(window.index()->eventCount < 16000);
    QCOMPARE(window.portViews().size(), 2);
    // Usable while it reads: a seek into what is indexed works at once.
    window.seekToOrdinal(100);
    QCOMPARE(window.position(), 100);
    QTRY_VERIFY_WITH_TIMEOUT(!window.isIndexing(), 60000);
    QCOMPARE(window.index()->eventCount, 16000);
    window.seekToOrdinal(15999);
    QCOMPARE(window.position(), 15999);
    QVERIFY(window.portViews()[1]->textView()->toPlainText().contains("-- Showing from"));
}

void TestReplayWindow::findsAndKeepsBookmarks()
{
    const QString path = makeRecording("find.vlmlog", 30, 0);
    QByteArray before;
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        before = file.readAll();
    }
    ReplayWindow window;
    QString error;
    QVERIFY(window.openFile(path, true, &error));
    window.indexToEnd();
    window.findChild<QLineEdit *>("replayFindEdit")->setText("line 17");
    window.findInRecording(false);
    QTRY_VERIFY(window.statusText().startsWith("Match at"));
    QCOMPARE(window.position(), 18);
    window.findChild<QLineEdit *>("replayFindEdit")->setText("no such text");
    window.findInRecording(false);
    QTRY_COMPARE(window.statusText(), QStringLiteral("No more matches in the recording."));
    window.findChild<QLineEdit *>("replayFindEdit")->setText("boot");
    window.findInRecording(false);
    QTRY_COMPARE(window.statusText(), QStringLiteral("Found in bookmark \"boot done\"."));

    window.addBookmarkAt(T0 + 2000000, "p1", false);
    QVERIFY(window.isWindowModified());
    QVERIFY(window.saveBookmarks());
    QVERIFY(!window.isWindowModified());
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray after = file.readAll();
    QVERIFY(after.startsWith(before));
    const Vlmlog::ParsedLine snapshot = Vlmlog::parseLine(after.mid(before.size()).trimmed());
    QCOMPARE(snapshot.kind, Vlmlog::ParsedLine::Bookmarks);
    QCOMPARE(snapshot.bookmarks.size(), 2);
    QVERIFY(!window.saveCopy(path));
    QCOMPARE(window.statusText(),
             QStringLiteral("That is the file this window has open; choose another name."));

    if (!qEnvironmentVariableIsEmpty("VLM_REPLAY_SCREENSHOT")) {
        window.resize(1366, 740);
        window.show();
        window.seekToOrdinal(24);
        QTest::qWait(300);
        window.grab().save(qEnvironmentVariable("VLM_REPLAY_SCREENSHOT"));
    }
}

void TestReplayWindow::recordDialogAsksBeforeReplacing()
{
    const QString path = dir.filePath("rec.vlmlog");
    RecordSessionDialog dialog(path, "2 ports, 10 KB");
    QStringList asked;
    bool answer = false;
    dialog.setConfirm([&](const QString &question) {
        asked << question;
        return answer;
    });
    dialog.findChild<QSpinBox *>("recordPartSpin")->setValue(5);
    dialog.findChild<QCheckBox *>("recordHeldBox")->setChecked(true);
    const SessionRecording::Options options = dialog.options();
    QCOMPARE(options.partBytes, 5 * 1048576);
    QVERIFY(options.includeHeld);
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(asked.isEmpty());

    QFile(path).open(QIODevice::WriteOnly);
    QFile(dir.filePath("rec-part2.vlmlog")).open(QIODevice::WriteOnly);
    dialog.setResult(0);
    dialog.accept();
    QCOMPARE(dialog.result(), 0);
    QCOMPARE(asked.size(), 1);
    QVERIFY(asked.first().startsWith("This replaces an earlier recording:\n"));
    QVERIFY(asked.first().contains("rec-part2.vlmlog"));
    answer = true;
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(!QFile::exists(dir.filePath("rec-part2.vlmlog")));
}

QTEST_MAIN(TestReplayWindow)
#include "tst_replaywindow.moc"
