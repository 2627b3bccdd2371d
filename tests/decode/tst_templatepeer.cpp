// A frame template made in the editor, as a user makes it, kept in a project file, found
// there by name as the command line finds it, and decoding a live TCP stream from a meter
// played by Python (which computes its CRCs itself). The capture then goes through an
// events file and the driver the command line uses, and must decode the same.

#include "decode/decodedriver.h"
#include "decode/framecsv.h"
#include "decode/frametemplatecodec.h"
#include "decode/frametemplatedialog.h"
#include "decode/templatestreamdecoder.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QProcess>
#include <QSettings>
#include <QSpinBox>
#include <QTableWidget>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

const QString Python = QStringLiteral("/usr/bin/python3");

// Fills in the editor's form for the meter's protocol and accepts it.
QList<FrameTemplate> makeInEditor()
{
    FrameTemplateDialog dialog({});
    dialog.addTemplate();
    const auto edit = [&](const char *name, const QString &text) {
        dialog.findChild<QLineEdit *>(QString::fromLatin1(name))->setText(text);
    };
    const auto spin = [&](const char *name, int value) {
        dialog.findChild<QSpinBox *>(QString::fromLatin1(name))->setValue(value);
    };
    const auto combo = [&](const char *name, const QString &text) {
        auto *box = dialog.findChild<QComboBox *>(QString::fromLatin1(name));
        box->setCurrentIndex(box->findText(text));
    };
    edit("frameTemplateName", "Meter");
    edit("headerEdit", "7E");
    spin("lengthOffsetSpin", 1);
    spin("lengthWidthSpin", 2);
    combo("lengthEndianCombo", "Little (DC BA)");
    combo("lengthScopeCombo", "the whole frame");
    spin("frameTimeoutSpin", 2000);
    combo("checksumCombo", "CRC-16/MODBUS");
    auto *fields = dialog.findChild<QTableWidget *>("frameTemplateFields");
    const auto field = [&](const QString &name, int offset, const QString &type,
                           const QStringList &cells) {
        dialog.addField();
        const int row = fields->rowCount() - 1;
        fields->item(row, 0)->setText(name);
        fields->item(row, 1)->setText(QString::number(offset));
        auto *types = qobject_cast<QComboBox *>(fields->cellWidget(row, 2));
        types->setCurrentIndex(types->findText(type));
        for (const QString &cell : cells) { // "column=text"
            fields->item(row, cell.section('=', 0, 0).toInt())->setText(cell.section('=', 1, -1));
        }
    };
    field("seq", 3, "U16", {});
    field("volts", 5, "I16", {"6=0.01", "8=2", "9=V"});
    field("state", 7, "U8", {"10=0=Idle;1=Run"});
    field("name", 8, "ASCII", {"3=0"});
    dialog.accept();
    return dialog.result() == QDialog::Accepted ? dialog.templates() : QList<FrameTemplate>();
}

QStringList frameLines(const QList<DecodedFrame> &frames, qsizetype *unrecognized)
{
    QStringList lines;
    *unrecognized = 0;
    for (const DecodedFrame &frame : frames) {
        if (frame.status == FrameStatus::Unrecognized) {
            *unrecognized += frame.raw.size();
        } else {
            lines.append(FrameCsv::statusToken(frame.status) + u' ' + frame.summary);
        }
    }
    return lines;
}

} // namespace

class TestTemplatePeer : public QObject
{
    Q_OBJECT
private slots:
    void liveStream();
};

void TestTemplatePeer::liveStream()
{
    if (!QFileInfo::exists(Python)) {
        QSKIP("/usr/bin/python3 is not installed");
    }
    const QList<FrameTemplate> made = makeInEditor();
    QCOMPARE(made.size(), 1);

    // Kept in a project and found there by name.
    QTemporaryDir dir;
    const QString project = dir.filePath("meter.vlm");
    {
        QSettings file(project, QSettings::IniFormat);
        FrameTemplateCodec::save(file, FrameTemplateCodec::projectPrefix(), made);
    }
    FrameTemplate meter;
    QString error;
    QVERIFY2(FrameTemplateCodec::loadFromProject(project, "Meter", &meter, &error),
             qPrintable(error));
    QCOMPARE(meter, made.first());

    QProcess peer;
    peer.start(Python, {QFINDTESTDATA("template_peer.py"), "300", "7"});
    const auto cleanup = qScopeGuard([&peer] {
        peer.kill();
        peer.waitForFinished(5000);
    });
    QVERIFY(peer.waitForReadyRead(20000));
    const quint16 port = quint16(peer.readLine().trimmed().toUInt());
    QVERIFY(port != 0);

    // Live: every read decoded as it comes, ticks when the decoder asks, the end of the
    // connection taken as the end of the stream.
    DecodeDriver live(std::make_unique<TemplateStreamDecoder>(meter), meter.name);
    QList<DecodeEvent> capture;
    QElapsedTimer clock;
    clock.start();
    QTimer ticker;
    ticker.setSingleShot(true);
    const auto rearm = [&] {
        const int delay = live.nextTimeoutMs(clock.elapsed());
        if (delay >= 0) {
            ticker.start(delay);
        } else {
            ticker.stop();
        }
    };
    connect(&ticker, &QTimer::timeout, this, [&] {
        live.tick(clock.elapsed());
        rearm();
    });
    QTcpSocket socket;
    bool closed = false;
    connect(&socket, &QTcpSocket::readyRead, this, [&] {
        const QByteArray bytes = socket.readAll();
        const qint64 now = clock.elapsed();
        capture.append({now, FrameDirection::Rx, bytes, {}, 0});
        live.ingest(FrameDirection::Rx, bytes, QString(), now, QDateTime::currentDateTimeUtc());
        rearm();
    });
    connect(&socket, &QTcpSocket::disconnected, this, [&] { closed = true; });
    socket.connectToHost(QHostAddress::LocalHost, port);
    QTRY_VERIFY_WITH_TIMEOUT(closed, 60000);
    live.finish();
    QVERIFY(peer.state() == QProcess::NotRunning || peer.waitForFinished(20000));
    const QJsonObject sent = QJsonDocument::fromJson(peer.readAllStandardOutput()).object();
    QVERIFY(!sent.isEmpty());

    QStringList expected;
    for (const QJsonValue &frame : sent.value("frames").toArray()) {
        expected.append(frame[0].toString() + u' ' + frame[1].toString());
    }
    qsizetype noise = 0;
    QCOMPARE(frameLines(live.frames(), &noise), expected);
    QCOMPARE(noise, sent.value("noise").toInteger());

    // The same capture through an events file, as the command line decodes it.
    QByteArray text;
    for (const DecodeEvent &event : std::as_const(capture)) {
        text += DecodeEvents::formatLine(event) + '\n';
    }
    QList<DecodeEvent> events;
    QVERIFY(DecodeEvents::parse(text, &events, &error));
    DecodeDriver replay(std::make_unique<TemplateStreamDecoder>(meter), meter.name);
    replay.run(events);
    QCOMPARE(frameLines(replay.frames(), &noise), expected);
    QVERIFY(replay.framesCsv().contains(",Meter,CHECKSUM_ERROR,"));
}

QTEST_MAIN(TestTemplatePeer)
#include "tst_templatepeer.moc"
