#include "scripting/scriptapireference.h"

#include <lua.hpp>

#include <iterator>

namespace {

struct Row
{
    const char *name;
    const char *arguments;
    const char *results;
    const char *description;
    const char *example;
};

// In registration order. The descriptions are translated; names, arguments, results
// and examples are Lua and stay as they are.
constexpr Row rows[] = {
    {"send", "bytes, [options]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Sends raw bytes and waits until the port took them. Unread received "
                       "bytes are dropped first, unless options.keepRx is true."),
     R"lua(send("\x01\x03\x00\x00\x00\x01"))lua"},
    {"sendHex", "text, [options]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Sends bytes written as pairs of hex digits."),
     R"lua(sendHex("01 03 00 00 00 01"))lua"},
    {"sendText", "text, [options]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Sends text with the port's send encoding, line ending and checksum."),
     R"lua(sendText("AT"))lua"},
    {"sendLine", "bytes, [ending], [options]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Sends bytes followed by a line ending, CR LF unless one is given."),
     R"lua(sendLine("AT+CSQ"))lua"},
    {"sendCommand", "name, [options]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Sends a command of the project's command library, found by its name."),
     R"lua(sendCommand("Version"))lua"},
    {"expect", "text, [timeout]", "text, consumed",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits for the text in the received data and fails the run on timeout. "
                       "Timeouts are in ms, 1000 by default, 0 waits for ever."),
     R"lua(expect("OK", 2000))lua"},
    {"expectHex", "hex, [timeout]", "match, consumed",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits for bytes written in hex; ?? stands for any byte."),
     R"lua(expectHex("01 03 ?? ??"))lua"},
    {"expectRegex", "pattern, [timeout]", "match, captures..., consumed",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits for a match of a regular expression over the received bytes."),
     R"lua(local _, value = expectRegex("T=([0-9.]+)"))lua"},
    {"expectAny", "list, [timeout]", "text, index, consumed",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Waits for whichever of several texts comes first."),
     R"lua(local reply, index = expectAny({"OK", "ERROR"}))lua"},
    {"tryExpect", "text, [timeout]", "text, consumed | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Like expect, but gives nil on timeout."),
     R"lua(local ready = tryExpect("READY", 500))lua"},
    {"tryExpectHex", "hex, [timeout]", "match, consumed | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Like expectHex, but gives nil on timeout."),
     R"lua(local ack = tryExpectHex("06", 200))lua"},
    {"tryExpectRegex", "pattern, [timeout]", "match, captures..., consumed | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Like expectRegex, but gives nil on timeout."),
     R"lua(local line = tryExpectRegex("ERR \\d+", 300))lua"},
    {"tryExpectAny", "list, [timeout]", "text, index, consumed | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Like expectAny, but gives nil on timeout."),
     R"lua(local reply, index = tryExpectAny({"OK", "ERROR"}, 1000))lua"},
    {"read", "count, [timeout]", "bytes | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits for exactly count bytes (1 to 65536); on timeout gives nil and "
                       "leaves the bytes unread."),
     R"lua(local header = read(4, 500))lua"},
    {"readLine", "[timeout]", "bytes | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits for a line ended by LF and gives it without its line ending."),
     R"lua(local line = readLine(2000))lua"},
    {"readAll", "", "bytes",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Takes all unread received bytes at once; never waits."),
     R"lua(local rest = readAll())lua"},
    {"clearRx", "", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Drops all unread received bytes."), R"lua(clearRx())lua"},
    {"sleep", "ms", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Pauses the script for 0 to 86400000 ms."),
     R"lua(sleep(250))lua"},
    {"idle", "", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Waits until the run is stopped while onReceive handles the data; never "
                       "returns."),
     R"lua(idle())lua"},
    {"onReceive", "function | nil", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Calls the function with (bytes, source) for each piece of received "
                       "data; nil removes it."),
     R"lua(onReceive(function(data) if data:find("PING") then send("PONG\r\n") end end))lua"},
    {"onStop", "function | nil", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Calls the function with (how, why) when the run ends: \"passed\", "
                       "\"failed\" or \"stopped\"."),
     R"lua(onStop(function(how, why) print("run " .. how, why) end))lua"},
    {"print", "values...", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Writes the values to the script output."),
     R"lua(print("count", 3))lua"},
    {"log", "values...", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Writes the values to the script output and to the port's receive view."),
     R"lua(log("step 2 done"))lua"},
    {"fail", "[value]", "—",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Ends the run as failed, with the value as the reason; never returns."),
     R"lua(fail("no answer from the device"))lua"},
    {"now", "", "integer",
     QT_TRANSLATE_NOOP("ScriptApiReference", "Milliseconds since the run began."),
     R"lua(local started = now())lua"},
    {"timestamp", "", "string",
     QT_TRANSLATE_NOOP("ScriptApiReference", "The local time as HH:mm:ss.zzz."),
     R"lua(print(timestamp(), "sent"))lua"},
    {"toHex", "bytes", "string",
     QT_TRANSLATE_NOOP("ScriptApiReference", "The bytes as hex pairs, such as \"01 0A FF\"."),
     R"lua(print(toHex("\1\2\255")))lua"},
    {"fromHex", "text", "bytes",
     QT_TRANSLATE_NOOP("ScriptApiReference", "The bytes that hex pairs stand for."),
     R"lua(local frame = fromHex("01 03 00 00 00 01"))lua"},
    {"checksum", "name, bytes", "integer",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "The value of a named checksum, such as \"crc16modbus\", \"crc32\" or "
                       "\"sum8\"."),
     R"lua(print(checksum("crc16modbus", "123456789")))lua"},
    {"appendChecksum", "bytes, name, [order]", "bytes",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "The bytes with their checksum behind them, low byte first unless order "
                       "is \"be\"."),
     R"lua(send(appendChecksum(fromHex("01 03 00 00 00 01"), "crc16modbus")))lua"},
    {"verifyChecksum", "frame, name, [order]", "boolean",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Whether the frame ends in the right checksum of the bytes before it."),
     R"lua(if not verifyChecksum(readAll(), "crc16modbus") then fail("bad CRC") end)lua"},
    {"regex", "pattern, subject", "match, captures... | nil",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Matches a regular expression against a string, without waiting."),
     R"lua(local _, seq = regex("seq=(\\d+)", "T=21.5 seq=1042"))lua"},
    {"encode", "text", "bytes",
     QT_TRANSLATE_NOOP("ScriptApiReference", "UTF-8 text in the port's send encoding."),
     R"lua(send(encode("Temperatur: 21 °C")))lua"},
    {"decode", "bytes", "text",
     QT_TRANSLATE_NOOP("ScriptApiReference",
                       "Bytes in the port's receive encoding, as UTF-8 text."),
     R"lua(print(decode(readAll())))lua"},
};
static_assert(std::size(rows) == 34);

} // namespace

QList<ScriptApiReference::Entry> ScriptApiReference::entries()
{
    QList<Entry> list;
    list.reserve(qsizetype(std::size(rows)));
    for (const Row &row : rows) {
        list.append({QString::fromLatin1(row.name), QString::fromUtf8(row.arguments),
                     QString::fromUtf8(row.results), tr(row.description),
                     QString::fromUtf8(row.example)});
    }
    return list;
}

QStringList ScriptApiReference::functionNames()
{
    QStringList names;
    names.reserve(qsizetype(std::size(rows)));
    for (const Row &row : rows) {
        names << QString::fromLatin1(row.name);
    }
    return names;
}

QString ScriptApiReference::toHtml()
{
    QString html = QStringLiteral("<h3>%1</h3><p>%2</p><p>%3</p>")
                       .arg(tr("Lua API Reference"),
                            tr("A script runs on one port. Besides Lua's base, string, table, "
                               "math and utf8 libraries it can call the functions below. "
                               "Strings are byte strings; [brackets] mark optional arguments."),
                            tr("Functions that wait (sends, expect, read, sleep) cannot be "
                               "called inside onReceive or onStop. The read-only object port "
                               "has the fields port.name and port.mode."));
    html += QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\" "
                           "width=\"100%\"><tr><th>%1</th><th>%2</th><th>%3</th></tr>")
                .arg(tr("Function"), tr("Results"), tr("What it does"));
    for (const Entry &entry : entries()) {
        html += QStringLiteral("<tr><td><a name=\"%1\"></a><b><code>%1</code></b><code>(%2)"
                               "</code></td><td><code>%3</code></td><td>%4<br><code>%5</code>"
                               "</td></tr>")
                    .arg(entry.name, entry.arguments.toHtmlEscaped(),
                         entry.results.toHtmlEscaped(), entry.description.toHtmlEscaped(),
                         entry.example.toHtmlEscaped());
    }
    html += QStringLiteral("</table>");
    return html;
}

QString ScriptApiReference::luaRelease()
{
    return QStringLiteral(LUA_RELEASE);
}
