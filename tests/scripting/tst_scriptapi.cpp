// The functions scripts call: what they send, what they take from received data, what
// they compute, and the errors of wrong arguments.

#include "automation/autoreplyengine.h"
#include "automation/commandlibrary.h"
#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"
#include "scriptharness.h"
#include "tools/crccatalog.h"

#include <QtTest>

namespace {

// Runs a script to its end: `chunks` arrive one by one whenever it waits, and the device
// answers `answer` to every send. Gives what it printed, one line each, or "error: "
// and the failure.
QString run(const QString &source, const QList<QByteArray> &chunks = {},
            const QByteArray &answer = {}, QByteArray *sent = nullptr,
            const ScriptPortInfo &info = {}, const ScriptEngine::CommandLookup &lookup = {})
{
    ScriptHarness h;
    h.engine.setCommandLookup(lookup);
    if (!answer.isEmpty()) {
        h.device = [&](const QByteArray &) { return answer; };
    }
    if (!h.start(source, info)) {
        return QStringLiteral("load failed");
    }
    h.run(0);
    for (const QByteArray &chunk : chunks) {
        h.feed(chunk);
    }
    h.run(ScriptEngine::MaxTimeoutMs + 1000);
    if (sent) {
        *sent = h.sent;
    }
    if (h.engine.isRunning()) {
        return QStringLiteral("still running: ") + h.engine.waitingFor();
    }
    if (h.engine.state() == ScriptState::Failed) {
        return QStringLiteral("error: ") + h.engine.finishReason();
    }
    return h.printed().join(u'\n');
}

} // namespace

class TestScriptApi : public QObject
{
    Q_OBJECT
private slots:
    void sending_data();
    void sending();
    void sendText_data();
    void sendText();
    void sendCommand_data();
    void sendCommand();
    void receiving_data();
    void receiving();
    void noTimeLimit();
    void checksumCheckValues_data();
    void checksumCheckValues();
    void checksumRoundTrip();
    void data_data();
    void data();
    void fromHexReadsLikeParseHex_data();
    void fromHexReadsLikeParseHex();
};

void TestScriptApi::sending_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QByteArray>("sent"); // hex
    QTest::addColumn<QString>("result");
    // The device answers "junk" to every send.
    QTest::newRow("raw bytes") << "send('\\0\\1\\255')" << QByteArray("0001ff") << "";
    QTest::newRow("send('') clears unread data")
        << "send('a')\nsend('')\nprint(#readAll())" << QByteArray("61") << "0";
    QTest::newRow("send('', keepRx) does not")
        << "send('a')\nsend('', {keepRx = true})\nprint(#readAll())" << QByteArray("61") << "4";
    QTest::newRow("a send clears first")
        << "send('a')\nsend('b')\nprint(readAll())" << QByteArray("6162") << "junk";
    QTest::newRow("keepRx keeps") << "send('a')\nsend('b', {keepRx = true})\nprint(readAll())"
                                  << QByteArray("6162") << "junkjunk";
    QTest::newRow("sendHex") << "sendHex('01 03,00ff\\n7E')" << QByteArray("010300ff7e") << "";
    QTest::newRow("sendHex, odd part") << "sendHex('01 3')" << QByteArray()
                                       << "error: \"3\" is not whole bytes: use two hex digits "
                                          "per byte.";
    QTest::newRow("sendHex, wildcard") << "sendHex('01 ?" "?')" << QByteArray()
                                       << "error: ?? (any byte) is only allowed in a pattern, not "
                                          "in a reply.";
    QTest::newRow("sendLine") << "sendLine('AT')" << QByteArray("41540d0a") << "";
    QTest::newRow("sendLine, ending") << "sendLine('AT', '\\n')" << QByteArray("41540a") << "";
    QTest::newRow("sendLine, options")
        << "send('a')\nsendLine('AT', {keepRx = true})\nprint(#readAll())"
        << QByteArray("6141540d0a") << "8";
    QTest::newRow("sendLine, ending and options")
        << "send('a')\nsendLine('AT', '', {keepRx = true})\nprint(#readAll())"
        << QByteArray("614154") << "8";
    QTest::newRow("sendLine, bad second argument")
        << "sendLine('AT', 5)" << QByteArray()
        << "error: bad argument #2 to 'sendLine' (line ending string or options table expected)";
    QTest::newRow("options not a table")
        << "send('x', 5)" << QByteArray()
        << "error: bad argument #2 to 'send' (options table expected, got number)";
    QTest::newRow("from onReceive, at once")
        << "onReceive(function(b)\n  onReceive(nil)\n  send('<' .. b .. '>')\nend)\n"
           "send('a')\nsleep(10)"
        << QByteArray("613c6a756e6b3e") << "";
}

void TestScriptApi::sending()
{
    QFETCH(QString, source);
    QByteArray sent;
    QTEST(run(source, {}, "junk", &sent), "result");
    QTEST(sent.toHex(), "sent");
}

void TestScriptApi::sendText_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("lineEnding");
    QTest::addColumn<int>("checksum");
    QTest::addColumn<QString>("encoding");
    QTest::addColumn<QByteArray>("payload"); // before the checksum
    QTest::newRow("plain") << "sendText('AT')" << 0 << 0 << "UTF-8" << QByteArray("AT");
    QTest::newRow("line ending and CRC") << "sendText('AT')" << 3 << 4 << "UTF-8"
                                         << QByteArray("AT\r\n");
    QTest::newRow("no escapes") << "sendText('a\\\\x41')" << 0 << 0 << "UTF-8"
                                << QByteArray("a\\x41");
    QTest::newRow("port encoding") << "sendText('\\xc3\\xa9')" << 0 << 1 << "ISO-8859-1"
                                   << QByteArray("\xe9");
}

// sendText goes through the port's send settings, with escapes off.
void TestScriptApi::sendText()
{
    QFETCH(QString, source);
    QFETCH(int, lineEnding);
    QFETCH(int, checksum);
    QFETCH(QString, encoding);
    QFETCH(QByteArray, payload);
    ScriptPortInfo info;
    info.format.txLineEndingMode = _tagLineEndingMode(lineEnding);
    info.format.sendChecksum = checksum;
    info.format.sendEncoding = encoding;
    info.format.sendEscapes = true;
    QByteArray sent;
    QCOMPARE(run(source, {}, {}, &sent, info), QString());
    QCOMPARE(sent, MessageCodec::appendChecksum(payload, checksum));
}

void TestScriptApi::sendCommand_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("withLibrary");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("result");
    QTest::newRow("text command") << "sendCommand('ping')" << true << QByteArray("PING\r\n") << "";
    QTest::newRow("hex command") << "sendCommand('read')" << true << QByteArray("\x01\x03", 2)
                                 << "";
    QTest::newRow("unknown") << "sendCommand('nope')" << true << QByteArray()
                             << "error: command \"nope\": There is no command of that name.";
    QTest::newRow("does not encode") << "sendCommand('broken')" << true << QByteArray()
                                     << "error: command \"broken\": \"1\" is not whole bytes: use "
                                        "two hex digits per byte.";
    QTest::newRow("no library") << "sendCommand('ping')" << false << QByteArray()
                                << "error: there is no command library here";
}

void TestScriptApi::sendCommand()
{
    QFETCH(QString, source);
    QFETCH(bool, withLibrary);
    ScriptEngine::CommandLookup lookup;
    if (withLibrary) {
        lookup = [](const QString &name, Command *command, QString *why) {
            if (name == "ping") {
                command->format = 0;
                command->text = "PING";
                command->lineEnding = 3;
                command->checksum = 0;
            } else if (name == "read") {
                command->format = 1;
                command->text = "01 03";
                command->checksum = 0;
            } else if (name == "broken") {
                command->format = 1;
                command->text = "1";
            } else {
                *why = "There is no command of that name.";
                return false;
            }
            command->name = name;
            return true;
        };
    }
    QByteArray sent;
    QTEST(run(source, {}, {}, &sent, {}, lookup), "result");
    QTEST(sent, "sent");
}

void TestScriptApi::receiving_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QList<QByteArray>>("chunks");
    QTest::addColumn<QString>("result");
    using Chunks = QList<QByteArray>;
    QTest::newRow("expect") << "print(expect('OK'))\nprint(readAll())" << Chunks{"xxOKyy"}
                            << "OK\txxOK\nyy";
    QTest::newRow("expect over two chunks")
        << "print(expect('OK'))" << Chunks{"xO", "Kz"} << "OK\txOK";
    QTest::newRow("expect, bytes") << "print(toHex(select(2, expect('\\r\\n'))))"
                                   << Chunks{QByteArray("\0\r\n", 3)} << "00 0D 0A";
    QTest::newRow("tryExpectAny over ERROR OK")
        << "print(tryExpectAny({'OK', 'ERROR'}, 1000))" << Chunks{"ERROR OK"} << "ERROR\t2\tERROR";
    QTest::newRow("expectAny, tie to the lower index")
        << "print(expectAny({'AB', 'B'}))" << Chunks{"xAB"} << "AB\t1\txAB";
    QTest::newRow("expectAny, earliest end wins")
        << "print(expectAny({'LONGER', 'ONG'}))" << Chunks{"LONGER"} << "ONG\t2\tLONG";
    QTest::newRow("expectRegex with groups")
        << "print(expectRegex('T=(\\\\d+)(x)?;'))" << Chunks{"a T=25; b"} << "T=25;\t25\tnil\ta T=25;";
    QTest::newRow("expectRegex over bytes")
        << "local m = expectRegex('\\xff+')\nprint(#m)" << Chunks{"a\xff\xff\xff"} << "3";
    QTest::newRow("expectHex") << "local m, c = expectHex('01 03 ?" "? ?" "?')\nprint(toHex(m), "
                                  "toHex(c))"
                               << Chunks{QByteArray("\x00\x01\x03\x0a\x0d\xff", 6)}
                               << "01 03 0A 0D\t00 01 03 0A 0D";
    QTest::newRow("readLine over AB CR CR LF")
        << "print(readLine())\nprint(readLine())" << Chunks{"AB\r\r\nC", "D\n"} << "AB\nCD";
    QTest::newRow("read with too few bytes keeps them")
        << "print(read(5, 100))\nprint(readAll())" << Chunks{"abcd"} << "nil\nabcd";
    QTest::newRow("read exactly") << "print(read(3))\nprint(readAll())" << Chunks{"abcdef"}
                                  << "abc\ndef";
    QTest::newRow("tryExpect times out") << "print(tryExpect('OK', 100))\nprint(readAll())"
                                         << Chunks{"KO"} << "nil\nKO";
    QTest::newRow("expect times out") << "expect('OK', 100)" << Chunks{"KO"}
                                      << "error: timeout waiting for \"OK\" (100 ms)";
    QTest::newRow("expectAny times out") << "expectAny({'A', 'B\\n'}, 100)" << Chunks{}
                                         << "error: timeout waiting for any of A, B\\n (100 ms)";
    QTest::newRow("expectRegex times out") << "expectRegex('a.c', 100)" << Chunks{}
                                           << "error: timeout waiting for /a.c/ (100 ms)";
    QTest::newRow("timeout caught")
        << "print(pcall(expect, 'OK', 50))" << Chunks{}
        << "false\ttimeout waiting for \"OK\" (50 ms)";
    QTest::newRow("readAll and clearRx never wait")
        << "print(#readAll())\nsleep(10)\nclearRx()\nprint(readAll() == '')" << Chunks{"abc"}
        << "0\ntrue";
    QTest::newRow("regex") << "print(regex('(a)(b)?c', 'xac'))\nprint(regex('z', 'xac'))"
                           << Chunks{} << "ac\ta\tnil\nnil";
    QTest::newRow("empty text") << "expect('')" << Chunks{}
                                << "error: bad argument #1 to 'expect' (the text to expect is "
                                   "empty)";
    QTest::newRow("empty list") << "expectAny({})" << Chunks{}
                                << "error: bad argument #1 to 'expectAny' (the list of texts is "
                                   "empty)";
    QTest::newRow("list item not a string")
        << "tryExpectAny({'a', 5})" << Chunks{}
        << "error: tryExpectAny: item 2 of the list is not a non-empty string";
    QTest::newRow("list not a table")
        << "expectAny('a')" << Chunks{}
        << "error: bad argument #1 to 'expectAny' (table expected, got string)";
    QTest::newRow("regex matching empty input") << "expectRegex('a*')" << Chunks{}
                                                << "error: The pattern matches empty input.";
    QTest::newRow("negative timeout")
        << "expect('x', -1)" << Chunks{}
        << "error: bad argument #2 to 'expect' (timeout must be 0 (no limit) to 86400000 ms)";
    QTest::newRow("fractional timeout")
        << "readLine(1.5)" << Chunks{}
        << "error: bad argument #1 to 'readLine' (timeout must be 0 (no limit) to 86400000 ms)";
    QTest::newRow("timeout too long")
        << "read(1, 86400001)" << Chunks{}
        << "error: bad argument #2 to 'read' (timeout must be 0 (no limit) to 86400000 ms)";
    QTest::newRow("longest timeout") << "print(tryExpect('x', 86400000))" << Chunks{} << "nil";
    QTest::newRow("read 0") << "read(0)" << Chunks{}
                            << "error: bad argument #1 to 'read' (must be 1 to 65536 bytes)";
    QTest::newRow("read too many") << "read(65537)" << Chunks{}
                                   << "error: bad argument #1 to 'read' (must be 1 to 65536 bytes)";
    QTest::newRow("sleep negative") << "sleep(-1)" << Chunks{}
                                    << "error: bad argument #1 to 'sleep' (must be 0 to 86400000 "
                                       "ms)";
    QTest::newRow("sleep(1.5)")
        << "sleep(1.5)" << Chunks{}
        << "error: bad argument #1 to 'sleep' (number has no integer representation)";
    QTest::newRow("wait in a comparator")
        << "table.sort({1, 2}, function() return readLine() end)" << Chunks{}
        << "error: readLine cannot wait here: it was called from code that Lua runs for a C "
           "function, such as a table.sort comparator";
    QTest::newRow("onReceive argument") << "onReceive(5)" << Chunks{}
                                        << "error: bad argument #1 to 'onReceive' (function or nil "
                                           "expected, got number)";
    QTest::newRow("onReceive gets the bytes")
        << "n = 0\nonReceive(function(b) n = n + #b end)\nsleep(10)\nprint(n)" << Chunks{"abc"}
        << "3";
}

void TestScriptApi::receiving()
{
    QFETCH(QString, source);
    QFETCH(QList<QByteArray>, chunks);
    QTEST(run(source, chunks), "result");
}

// A limit of 0 waits for ever: there is no deadline, whatever the clock does.
void TestScriptApi::noTimeLimit()
{
    ScriptHarness h;
    QVERIFY(h.start("print(tryExpect('OK', 0))"));
    h.run();
    QVERIFY(h.engine.isRunning());
    QCOMPARE(h.engine.deadline(), -1);
    h.clockMs += 100000000;
    QCOMPARE(h.engine.poll().kind, ScriptAction::Wait);
    h.feed("OK");
    QCOMPARE(h.printed(), QStringList{"OK\tOK"});
    QCOMPARE(h.engine.state(), ScriptState::Passed);
}

void TestScriptApi::checksumCheckValues_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("check");
    // Every name gives the catalogue's value; the catalogue's own test holds the published
    // check values.
    for (const QString &name : ScriptEngine::checksumNames()) {
        bool ok = false;
        const quint64 value = CrcCatalog::scriptChecksum(name, "123456789", &ok);
        QTest::newRow(qPrintable(name)) << name << QString::number(value, 16).toUpper();
    }
    // checksumArg: case, "-", "/", "_" and blanks do not count.
    QTest::newRow("CRC-16/MODBUS") << "CRC-16/MODBUS" << "4B37";
    QTest::newRow("CRC16 Modbus") << "CRC16 Modbus" << "4B37";
    QTest::newRow("crc_16_modbus") << "crc_16_modbus" << "4B37";
    QTest::newRow("CRC-32/BZIP2") << "CRC-32/BZIP2" << "FC891918";
}

void TestScriptApi::checksumCheckValues()
{
    QFETCH(QString, name);
    QTEST(run(QStringLiteral("print(string.format('%X', checksum('%1', '123456789')))").arg(name)),
          "check");
}

// appendChecksum puts (width + 7) / 8 bytes behind, low byte first unless "be";
// verifyChecksum accepts exactly that, in the same order.
void TestScriptApi::checksumRoundTrip()
{
    QString list;
    for (const QString &name : ScriptEngine::checksumNames()) {
        list += QStringLiteral("{'%1', %2},").arg(name).arg((CrcCatalog::scriptChecksumWidth(name) + 7) / 8);
    }
    const QString source = QStringLiteral(R"(
        local bad = {}
        for _, entry in ipairs({%1}) do
          local name, size = entry[1], entry[2]
          for _, order in ipairs({'le', 'be', 'LE', 'Be'}) do
            local data = 'payload ' .. name
            local framed = appendChecksum(data, name, order)
            local value = checksum(name, data)
            local tail = framed:sub(#data + 1)
            local low = (order:lower() == 'le') and tail:byte(1) or tail:byte(#tail)
            if #framed ~= #data + size or framed:sub(1, #data) ~= data
               or low ~= (value & 0xFF)
               or not verifyChecksum(framed, name, order)
               or (tail ~= tail:reverse()
                   and verifyChecksum(framed, name, order:lower() == 'le' and 'be' or 'le'))
               or verifyChecksum(framed:sub(1, -2) .. string.char(framed:byte(-1) ~ 1), name, order)
               or verifyChecksum(tail, name, order) then
              bad[#bad + 1] = name .. '/' .. order
            end
          end
        end
        print(#bad, table.concat(bad, ' '))
    )")
                               .arg(list);
    QCOMPARE(run(source), "0\t");
}

void TestScriptApi::data_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("result");
    const QString modbus = QString::fromLatin1(
        MessageCodec::appendChecksum("\x01\x02", CrcCatalog::SendChecksumCrc16Modbus).toHex(' ')
            .toUpper());
    QTest::newRow("toHex") << "print(toHex('\\0\\1AB\\255'), toHex('') == '')" << "00 01 41 42 FF\ttrue";
    QTest::newRow("fromHex") << "print(fromHex('41 42,43\\t4a4B'))" << "ABCJK";
    QTest::newRow("fromHex, odd") << "fromHex('414')"
                                  << "error: \"414\" is not whole bytes: use two hex digits per "
                                     "byte.";
    QTest::newRow("appendChecksum, low byte first")
        << "print(toHex(appendChecksum('\\1\\2', 'crc16modbus')))" << modbus;
    QTest::newRow("appendChecksum, big endian")
        << "local f = appendChecksum('\\1\\2', 'crc16modbus', 'BE')\n"
           "local g = appendChecksum('\\1\\2', 'crc16modbus')\n"
           "print(f:sub(3) == g:sub(3):reverse(), #f)"
        << "true\t4";
    QTest::newRow("verifyChecksum, too short") << "print(verifyChecksum('\\1', 'crc16modbus'), "
                                                  "verifyChecksum('\\1\\2', 'crc16modbus'))"
                                               << "false\tfalse";
    QTest::newRow("verifyChecksum, a modbus frame")
        << "print(verifyChecksum(fromHex('01 03 00 00 00 01 84 0A'), 'CRC-16/MODBUS'))" << "true";
    QTest::newRow("unknown checksum with suggestions")
        << "checksum('crc16ccitt', 'x')"
        << "error: unknown checksum \"crc16ccitt\"; did you mean crc16ccittfalse, crc16xmodem, "
           "crc16kermit? (the full list of names is in the documentation)";
    QTest::newRow("unknown checksum")
        << "appendChecksum('x', 'zz')"
        << "error: unknown checksum \"zz\" (the full list of names is in the documentation)";
    QTest::newRow("unknown checksum, long name")
        << "verifyChecksum('x', ('q'):rep(41))"
        << "error: unknown checksum \"" + QString(39, u'q') + QChar(0x2026) +
               "\" (the full list of names is in the documentation)";
    QTest::newRow("unknown checksum, 40 characters")
        << "verifyChecksum('x', ('q'):rep(40))"
        << "error: unknown checksum \"" + QString(40, u'q') +
               "\" (the full list of names is in the documentation)";
    QTest::newRow("byte order") << "appendChecksum('x', 'crc8', 'little')"
                                << "error: byte order must be \"le\" or \"be\"";
    QTest::newRow("encode") << "print(toHex(encode('\\xc3\\xa9')))" << "E9";
    QTest::newRow("encode, not representable")
        << "print(pcall(encode, '\\xe4\\xb8\\xad'))"
        << "false\t" + WireTextCodecRegistry::encode(QString::fromUtf8("\xe4\xb8\xad"),
                                                     "ISO-8859-1")
                           .error;
    QTest::newRow("decode") << "print(toHex(decode('\\xe9A')))" << "C3 A9 41";
    QTest::newRow("timestamp") << "print(timestamp():match('^%d%d:%d%d:%d%d%.%d%d%d$') ~= nil)"
                               << "true";
    QTest::newRow("now") << "local a = now()\nsleep(1234)\nprint(a, now())" << "0\t1234";
    QTest::newRow("print renders values")
        << "print(1, nil, true, 2.5, setmetatable({}, {__tostring = function() return 'T' end}))"
        << "1\tnil\ttrue\t2.5\tT";
}

void TestScriptApi::data()
{
    QFETCH(QString, source);
    ScriptPortInfo info;
    info.format.sendEncoding = "ISO-8859-1";
    info.format.receiveEncoding = "ISO-8859-1";
    QTEST(run(source, {}, {}, nullptr, info), "result");
}

void TestScriptApi::fromHexReadsLikeParseHex_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("blanks and commas") << QByteArray(" 41\t42,,43\r\n\v\f4a4B ");
    QTest::newRow("ideographic and no-break spaces")
        << QByteArray("41\xe3\x80\x80" "42\xc2\xa0" "43 44\xe3\x80\x80");
    QTest::newRow("a full-width digit") << QByteArray("41 \xef\xbc\x94" "1");
    QTest::newRow("byte order mark first") << QByteArray("\xef\xbb\xbf" "41 42");
    QTest::newRow("byte order mark later") << QByteArray("41 \xef\xbb\xbf" "42");
    QTest::newRow("wildcard") << QByteArray("41 ?? 42");
    QTest::newRow("odd part after good ones") << QByteArray("41 42 434");
    QTest::newRow("bad digit") << QByteArray("41 4g");
    QTest::newRow("invalid UTF-8") << QByteArray("41 \xff\xfe 42");
    QTest::newRow("empty") << QByteArray(" ,\t");
    QTest::newRow("long") << QByteArray("00 7f 80 ff ").repeated(4000);
}

// fromHex reads plain hex in a pass of its own and hands everything else to parseHex:
// the bytes and the messages are parseHex's for any text.
void TestScriptApi::fromHexReadsLikeParseHex()
{
    QFETCH(QByteArray, text);
    QString literal;
    for (const char byte : text) {
        literal += QStringLiteral("\\%1").arg(int(quint8(byte)));
    }
    QList<int> values;
    QString error;
    const bool ok = AutoReplyEngine::parseHex(QString::fromUtf8(text), false, values, error);
    QByteArray bytes;
    for (int value : std::as_const(values)) {
        bytes.append(char(value));
    }
    // A printed line keeps its first 16383 characters: the length tells the rest.
    const QString expected =
        ok ? QString::number(bytes.size()) + u'\n' +
                 ScriptEngine::clipText(QString::fromLatin1(bytes.toHex(' ').toUpper()))
           : QStringLiteral("error: ") + error;
    QCOMPARE(run(QStringLiteral("local b = fromHex('%1')\nprint(#b)\nprint(toHex(b))").arg(literal)),
             expected);
}

QTEST_GUILESS_MAIN(TestScriptApi)
#include "tst_scriptapi.moc"
