// The sample scripts shipped as resources, each against a fake device driven through
// the engine's send and receive interface.

#include "connection/messagecodec.h"
#include "scriptharness.h"

#include <QFile>
#include <QtTest>

namespace {

QString sample(const char *name)
{
    QFile file(QStringLiteral(":/scripts/%1.lua").arg(QLatin1String(name)));
    if (!file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    return QString::fromUtf8(file.readAll());
}

QByteArray modbus(const char *hex)
{
    return MessageCodec::appendChecksum(QByteArray::fromHex(hex), 4);
}

} // namespace

class TestScriptSamples : public QObject
{
    Q_OBJECT
private slots:
    void atRegression_data();
    void atRegression();
    void echoResponder();
    void modbusSlave_data();
    void modbusSlave();
};

void TestScriptSamples::atRegression_data()
{
    QTest::addColumn<QByteArray>("gmiAnswer"); // what AT+CGMI gets
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("printed");
    QTest::newRow("all pass") << QByteArray("Vendor\r\nOK\r\n") << int(ScriptState::Passed)
                              << QStringList{"PASS AT", "PASS ATE0", "PASS AT+GMR", "PASS AT+CSQ",
                                             "PASS AT+CGMI", "5 passed, 0 failed of 5 (passed)"};
    QTest::newRow("ERROR") << QByteArray("\r\nERROR\r\n") << int(ScriptState::Failed)
                           << QStringList{"PASS AT", "PASS ATE0", "PASS AT+GMR", "PASS AT+CSQ",
                                          "FAIL AT+CGMI (answered ERROR)",
                                          "4 passed, 1 failed of 5 (failed)",
                                          "  AT+CGMI: answered ERROR"};
    QTest::newRow("silent") << QByteArray() << int(ScriptState::Failed)
                            << QStringList{"PASS AT", "PASS ATE0", "PASS AT+GMR", "PASS AT+CSQ",
                                           "FAIL AT+CGMI (no answer)",
                                           "4 passed, 1 failed of 5 (failed)",
                                           "  AT+CGMI: no answer"};
}

// Sends the table's commands one by one and judges the device's answers.
void TestScriptSamples::atRegression()
{
    QFETCH(QByteArray, gmiAnswer);
    ScriptHarness h;
    QList<QByteArray> commands;
    h.device = [&](const QByteArray &line) -> QByteArray {
        commands << line;
        const QByteArray command = line.trimmed();
        QByteArray answer = command + "\r\r\n"; // the modem's echo
        if (command == "AT+CSQ") {
            return answer + "+CSQ: 20,99\r\n\r\nOK\r\n";
        }
        if (command == "AT+CGMI") {
            return gmiAnswer;
        }
        return answer + "OK\r\n";
    };
    QVERIFY(h.start(sample("at_regression")));
    h.run();
    QTEST(int(h.engine.state()), "state");
    QCOMPARE(commands, (QList<QByteArray>{"AT\r\n", "ATE0\r\n", "AT+GMR\r\n", "AT+CSQ\r\n",
                                          "AT+CGMI\r\n"}));
    QTEST(h.printed(), "printed");
    if (h.engine.state() == ScriptState::Failed) {
        QCOMPARE(h.engine.finishReason(), "1 of 5 commands failed");
    }
}

// Answers every PING, also one that arrives in pieces, until it is stopped.
void TestScriptSamples::echoResponder()
{
    ScriptHarness h;
    ScriptPortInfo info;
    info.name = "COM3";
    QVERIFY(h.start(sample("echo_responder"), info));
    h.run();
    QCOMPARE(h.engine.waitingFor(), "idle, answering with onReceive");
    QCOMPARE(h.printed(), QStringList{"waiting for PING on COM3"});
    h.feed("PI");
    QCOMPARE(h.sent, QByteArray());
    h.feed("NG\r\n");
    QCOMPARE(h.sent, "PONG\r\n");
    h.feed("xxPINGPINGPIN");
    h.feed("G and noise");
    QCOMPARE(h.sends, (QList<QByteArray>(4, "PONG\r\n")));
    h.stop();
    QCOMPARE(h.engine.state(), ScriptState::Stopped);
    QCOMPARE(h.printed().last(), "answered 4 PING(s)");
}

void TestScriptSamples::modbusSlave_data()
{
    QTest::addColumn<QList<QByteArray>>("requests"); // arriving in this order
    QTest::addColumn<QList<QByteArray>>("answers");
    using Frames = QList<QByteArray>;
    QTest::newRow("read two registers")
        << Frames{modbus("010300000002")} << Frames{modbus("01030404d2162e")};
    QTest::newRow("write, then read back")
        << Frames{modbus("01060005002a"), modbus("010300050001")}
        << Frames{modbus("01060005002a"), modbus("010302002a")};
    QTest::newRow("in pieces, after noise")
        << Frames{QByteArray::fromHex("ff00") + modbus("010300010001").left(3),
                  modbus("010300010001").mid(3)}
        << Frames{modbus("010302162e")};
    QTest::newRow("other slave") << Frames{modbus("020300000001")} << Frames{};
    QTest::newRow("unsupported function") << Frames{modbus("010400000001")}
                                          << Frames{modbus("018401")};
    QTest::newRow("beyond the table") << Frames{modbus("010300630002")} << Frames{modbus("018302")};
    QTest::newRow("count out of range") << Frames{modbus("010300000000")}
                                        << Frames{modbus("018303")};
    QTest::newRow("write beyond the table") << Frames{modbus("010600640001")}
                                            << Frames{modbus("018602")};
    QTest::newRow("bad CRC") << Frames{QByteArray::fromHex("0103000000020000")} << Frames{};
}

// Plays a Modbus RTU slave for functions 3 and 6: each request frame gets its answer.
void TestScriptSamples::modbusSlave()
{
    QFETCH(QList<QByteArray>, requests);
    ScriptHarness h;
    QVERIFY(h.start(sample("modbus_slave")));
    h.run();
    QVERIFY(h.engine.isRunning());
    for (const QByteArray &request : requests) {
        h.feed(request);
        h.clockMs += 10;
    }
    QTEST(h.sends, "answers");
    QVERIFY(h.engine.isRunning());
    h.stop();
    QCOMPARE(h.texts(ScriptOutput::Error), QStringList());
}

QTEST_GUILESS_MAIN(TestScriptSamples)
#include "tst_scriptsamples.moc"
