#include "scripting/scriptapi.h"

#include "automation/autoreplyengine.h"
#include "automation/commandlibrary.h"
#include "automation/commandlibrarytext.h"
#include "connection/messagecodec.h"
#include "connection/wiretextcodecregistry.h"
#include "scripting/scriptengine_p.h"
#include "tools/crccatalog.h"

#include <QStringDecoder>
#include <QTime>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

// Every function here follows the rule of scriptengine_p.h: Lua may raise or yield at
// any call into it, so Qt values live only inside the helpers (which return before
// Lua is called again) and in the run's own fields. Arguments that can run script code
// (options tables, __tostring) are read before any scratch field is filled.
//
// The messages raised into the script are English, like Lua's own, so that a script
// that looks at an error behaves alike in every language.

namespace {

using Impl = ScriptEngine::Impl;
using Wait = Impl::Wait;
using Callback = Impl::Callback;

constexpr char TimeoutRange[] = "timeout must be 0 (no limit) to 86400000 ms";

// --- Raising and pushing ---

int raiseError(lua_State *L, Impl *d)
{
    return luaL_error(L, "%s", d->error.constData());
}

int pushBytes(lua_State *L, const QByteArray &bytes)
{
    lua_pushlstring(L, bytes.constData(), size_t(bytes.size()));
    return 1;
}

int pushValues(lua_State *L, const QList<Impl::Value> &values)
{
    luaL_checkstack(L, int(values.size()), "too many results");
    for (const Impl::Value &value : values) {
        if (const auto *bytes = std::get_if<QByteArray>(&value)) {
            pushBytes(L, *bytes);
        } else if (const auto *number = std::get_if<qint64>(&value)) {
            lua_pushinteger(L, lua_Integer(*number));
        } else {
            lua_pushnil(L);
        }
    }
    return int(values.size());
}

// Pushes the result a helper left in d->bytes and lets go of it; while Lua copies it,
// it counts against the heap's cap. (Should the push raise, the run lets go of it when
// the script next pauses.)
int pushScratch(lua_State *L, Impl *d)
{
    if (!d->holdScratch(d->bytes.size())) {
        return luaL_error(L, "not enough memory");
    }
    pushBytes(L, d->bytes);
    d->releaseScratch();
    return 1;
}

// The same for the values a helper left in d->values.
int pushScratchValues(lua_State *L, Impl *d)
{
    qint64 held = 0;
    for (const Impl::Value &value : std::as_const(d->values)) {
        if (const auto *bytes = std::get_if<QByteArray>(&value)) {
            held += bytes->size();
        }
    }
    if (!d->holdScratch(held)) {
        return luaL_error(L, "not enough memory");
    }
    const int count = pushValues(L, d->values);
    d->releaseScratch();
    return count;
}

// A fault that ends the run: the hook raises it again at every instruction, so that no
// pcall in the script keeps the run alive. `text` must not point into d->fault.
int raiseFault(lua_State *L, Impl *d, const char *text)
{
    d->setFault(text, scriptInnermostLine(L, 1));
    lua_sethook(L, scriptHook, LUA_MASKCOUNT, 1);
    return luaL_error(L, "%s", d->fault.text.constData());
}

// --- Arguments ---

QByteArray argBytes(lua_State *L, int index)
{
    size_t length = 0;
    const char *data = lua_tolstring(L, index, &length);
    return QByteArray(data, qsizetype(length));
}

// The string argument at `index` without a copy: valid while the argument stays on the
// stack, so only for helpers that read it and return.
QByteArray argView(lua_State *L, int index)
{
    size_t length = 0;
    const char *data = lua_tolstring(L, index, &length);
    return QByteArray::fromRawData(data, qsizetype(length));
}

qint64 optTimeout(lua_State *L, int index)
{
    if (lua_isnoneornil(L, index)) {
        return ScriptEngine::DefaultTimeoutMs;
    }
    int isInteger = 0;
    const lua_Integer value = lua_tointegerx(L, index, &isInteger);
    if (!isInteger || value < 0 || value > ScriptEngine::MaxTimeoutMs) {
        luaL_argerror(L, index, TimeoutRange);
    }
    return value;
}

bool optKeepRx(lua_State *L, int index)
{
    const int type = lua_type(L, index);
    if (type == LUA_TNONE || type == LUA_TNIL) {
        return false;
    }
    if (type != LUA_TTABLE) {
        luaL_typeerror(L, index, "options table");
    }
    lua_getfield(L, index, "keepRx");
    const bool keep = lua_toboolean(L, -1);
    lua_pop(L, 1);
    return keep;
}

// "le" (the default) or "be", in any case; true for big endian.
bool optBigEndian(lua_State *L, int index)
{
    if (lua_isnoneornil(L, index)) {
        return false;
    }
    size_t length = 0;
    const char *order = lua_tolstring(L, index, &length);
    if (order && length == 2) {
        const char a = char(order[0] | 0x20);
        const char b = char(order[1] | 0x20);
        if (a == 'l' && b == 'e') {
            return false;
        }
        if (a == 'b' && b == 'e') {
            return true;
        }
    }
    luaL_error(L, "byte order must be \"le\" or \"be\"");
    return false;
}

// Refuses a wait in a callback (which ends the run) and where the body cannot yield.
void checkMayWait(lua_State *L, Impl *d, const char *name)
{
    if (d->callback == Callback::OnReceive) {
        raiseFault(L, d, "cannot wait inside onReceive");
    } else if (d->callback != Callback::None) {
        raiseFault(L, d, "cannot wait inside onStop");
    }
    if (!lua_isyieldable(L)) {
        luaL_error(L,
                   "%s cannot wait here: it was called from code that Lua runs for a C "
                   "function, such as a table.sort comparator",
                   name);
    }
}

// --- Helpers that do the Qt work; they never call Lua ---

QString cut40(const QString &text)
{
    return text.size() > 40 ? text.left(39) + QChar(0x2026) : text;
}

// How an expected text reads in a timeout message or the status line.
QString describeText(const QByteArray &bytes)
{
    // Only its start is shown: no more bytes than can make 40 characters.
    QString text = ScriptEngine::displayText(bytes.first(std::min<qsizetype>(bytes.size(), 164)));
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\\r\\n"));
    text.replace(u'\n', QStringLiteral("\\n"));
    text.replace(u'\t', QStringLiteral("\\t"));
    return u'"' + cut40(text) + u'"';
}

// Patterns up to this many bytes are kept compiled for the rest of the run.
constexpr qsizetype CachedPatternBytes = 4096;

bool compileInto(Impl *d, AutoReplyMatch match, const QByteArray &pattern,
                 QRegularExpression *regex)
{
    const bool cacheable = pattern.size() <= CachedPatternBytes;
    const QByteArray key =
        cacheable ? (match == AutoReplyMatch::Regex ? "R" : "H") + pattern : QByteArray();
    const auto cached = cacheable ? d->regexCache.constFind(key) : d->regexCache.cend();
    if (cached != d->regexCache.cend()) {
        *regex = *cached;
        return true;
    }
    // Compiling goes over the pattern a few times, as text of two bytes a character.
    d->charge(4 * pattern.size());
    if (!d->roomFor(8 * pattern.size())) {
        d->setError("not enough memory");
        return false;
    }
    AutoReplyRule rule;
    rule.match = match;
    // A regular expression is a byte pattern: its bytes pass ISO-8859-1 unchanged.
    rule.pattern = match == AutoReplyMatch::Regex ? QString::fromLatin1(pattern)
                                                  : QString::fromUtf8(pattern);
    const QString encoding = match == AutoReplyMatch::Regex ? QStringLiteral("ISO-8859-1")
                                                            : QStringLiteral("UTF-8");
    QString error;
    if (!AutoReplyEngine::compilePattern(rule, encoding, *regex, error)) {
        d->setError(error);
        return false;
    }
    if (cacheable) {
        if (d->regexCache.size() >= 64) {
            d->regexCache.clear();
        }
        d->regexCache.insert(key, *regex);
    }
    return true;
}

bool prepareExpectText(Impl *d, const char *call, bool mustMatch, const QByteArray &needle)
{
    d->expectation = Impl::Expectation();
    d->expectation.kind = Impl::Expectation::Text;
    d->expectation.mustMatch = mustMatch;
    d->expectation.needle = needle;
    d->expectation.call = QString::fromLatin1(call);
    d->expectation.description = describeText(needle);
    return true;
}

bool prepareExpectPattern(Impl *d, const char *call, bool mustMatch, AutoReplyMatch match,
                          const QByteArray &pattern)
{
    QRegularExpression regex;
    if (!compileInto(d, match, pattern, &regex)) {
        return false;
    }
    d->expectation = Impl::Expectation();
    d->expectation.kind = Impl::Expectation::Pattern;
    d->expectation.mustMatch = mustMatch;
    d->expectation.regex = regex;
    d->expectation.call = QString::fromLatin1(call);
    // A long pattern shows its start, as far as an output line takes.
    const QByteArray shown = pattern.first(std::min<qsizetype>(pattern.size(),
                                                               4 * ScriptEngine::OutputTextLimit));
    d->expectation.description = ScriptEngine::clipText(
        match == AutoReplyMatch::Regex ? u'/' + ScriptEngine::displayText(shown) + u'/'
                                       : QString::fromUtf8(shown).simplified());
    return true;
}

void prepareExpectAny(Impl *d, const char *call, bool mustMatch)
{
    QStringList shown;
    for (const QByteArray &needle : std::as_const(d->expectation.needles)) {
        shown << describeText(needle).mid(1).chopped(1);
    }
    d->expectation.kind = Impl::Expectation::Any;
    d->expectation.mustMatch = mustMatch;
    d->expectation.call = QString::fromLatin1(call);
    d->expectation.description =
        ScriptEngine::clipText(QStringLiteral("any of %1").arg(shown.join(QStringLiteral(", "))));
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// The ASCII characters that separate parts of hex text ("[\s,]+" of parseHex).
bool isHexSeparator(char c)
{
    return c == ' ' || c == ',' || (c >= '\t' && c <= '\r');
}

// Hex text to bytes in d->bytes, as AutoReplyEngine::parseHex reads it. That parser
// makes a string object of every part, which for megabytes of text takes hundreds of
// milliseconds and many times the text in memory. So the text is cut at its ASCII
// separators here, a part of ASCII hex digit pairs is converted on the spot, and any
// other part (Unicode blanks, "??", a bad digit or an odd length) goes to parseHex on
// its own, which splits it further and words the error; the result is parseHex's.
bool hexToBytes(Impl *d, const QByteArray &text)
{
    d->charge(text.size() / 4);
    if (!d->roomFor(text.size() / 2)) {
        d->setError("not enough memory");
        return false;
    }
    // At most a byte for every two characters; written in place, then cut to size.
    d->bytes = QByteArray(text.size() / 2, Qt::Uninitialized);
    char *out = d->bytes.data();
    const char *const begin = text.constData();
    const char *const end = begin + text.size();
    for (const char *p = begin; p < end;) {
        while (p < end && isHexSeparator(*p)) {
            ++p;
        }
        const char *const start = p;
        bool pairs = true;
        for (; p < end && !isHexSeparator(*p); ++p) {
            pairs = pairs && hexDigit(*p) >= 0;
        }
        if (pairs && (p - start) % 2 == 0) {
            for (const char *q = start; q < p; q += 2) {
                *out++ = char(hexDigit(q[0]) * 16 + hexDigit(q[1]));
            }
            continue;
        }
        // parseHex's own copies of the part: the text, and an object for each piece.
        if (!d->roomFor(32 * (p - start))) {
            d->setError("not enough memory");
            return false;
        }
        d->charge(16 * (p - start));
        // QString::fromUtf8 drops a byte order mark at the start of the whole text
        // only; one at the start of a later part is a character of that part.
        const QByteArrayView part(start, p - start);
        const QString partText =
            start == begin
                ? QString::fromUtf8(part)
                : QStringDecoder(QStringDecoder::Utf8, QStringConverter::Flag::ConvertInitialBom)
                      .decode(part);
        QList<int> values;
        QString error;
        if (!AutoReplyEngine::parseHex(partText, false, values, error)) {
            d->setError(error);
            return false;
        }
        // parseHex gives at most a byte for every two characters of the part too.
        for (int value : std::as_const(values)) {
            *out++ = char(value);
        }
    }
    d->bytes.truncate(out - d->bytes.constData());
    return true;
}

// The most bytes the copies of encoding `length` bytes of UTF-8 can take outside the
// heap: the text as UTF-16, and the encoded bytes (at most four a character).
qint64 encodingCopies(qsizetype length)
{
    return 6 * qint64(length) + 64;
}

bool encodeText(Impl *d, const QByteArray &text)
{
    if (!d->roomFor(encodingCopies(text.size()))) {
        d->setError("not enough memory");
        return false;
    }
    d->charge(text.size());
    FormatSetting format = d->port.format;
    format.sendEscapes = false;
    const EncodeSendResult result = MessageCodec::encodeSend(QString::fromUtf8(text), false, format);
    if (!result.ok) {
        d->setError(result.error);
        return false;
    }
    d->bytes = result.bytes;
    return true;
}

bool encodeCommand(Impl *d, const QByteArray &nameBytes)
{
    if (!d->lookup) {
        d->setError("there is no command library here");
        return false;
    }
    const QString name = QString::fromUtf8(nameBytes);
    Command command;
    QString why;
    if (!d->lookup(name, &command, &why)) {
        d->setError(QStringLiteral("command \"%1\": %2").arg(name, why));
        return false;
    }
    const EncodeSendResult result = CommandLibraryText::encode(command, d->port.format);
    if (!result.ok) {
        d->setError(QStringLiteral("command \"%1\": %2").arg(name, result.error));
        return false;
    }
    d->bytes = result.bytes;
    return true;
}

// The script's checksum name in the catalogue's form: lower case, without "-", "/",
// "_" and blanks; an unknown name sets the error.
bool checksumArg(Impl *d, const QByteArray &given, QString *name, int *width)
{
    static const QRegularExpression separators(QStringLiteral("[-/_ ]"));
    *name = QString::fromUtf8(given).toLower().remove(separators);
    *width = CrcCatalog::scriptChecksumWidth(*name);
    if (*width > 0) {
        return true;
    }
    const QString shown = cut40(ScriptEngine::displayText(given));
    const QStringList suggestions = ScriptEngine::checksumSuggestions(QString::fromUtf8(given));
    d->setError(suggestions.isEmpty()
                    ? QStringLiteral("unknown checksum \"%1\" (the full list of names is in the "
                                     "documentation)")
                          .arg(shown)
                    : QStringLiteral("unknown checksum \"%1\"; did you mean %2? (the full list "
                                     "of names is in the documentation)")
                          .arg(shown, suggestions.join(QStringLiteral(", "))));
    return false;
}

QByteArray checksumBytes(quint64 value, int width, bool bigEndian)
{
    const int count = (width + 7) / 8;
    QByteArray bytes(count, Qt::Uninitialized);
    for (int i = 0; i < count; ++i) {
        bytes[bigEndian ? count - 1 - i : i] = char((value >> (8 * i)) & 0xFF);
    }
    return bytes;
}

// The checksum of `data` (read in place); a unit of work for every four bytes.
quint64 checksumOf(Impl *d, const QString &canonical, const QByteArray &data)
{
    d->charge(data.size() / 4);
    return CrcCatalog::scriptChecksum(canonical, data);
}

bool computeChecksum(Impl *d, const QByteArray &name, const QByteArray &data, quint64 *value)
{
    QString canonical;
    int width = 0;
    if (!checksumArg(d, name, &canonical, &width)) {
        return false;
    }
    *value = checksumOf(d, canonical, data);
    return true;
}

// The checksum bytes alone into d->bytes; the caller puts them behind the data in Lua.
bool appendChecksumTo(Impl *d, const QByteArray &data, const QByteArray &name, bool bigEndian)
{
    QString canonical;
    int width = 0;
    if (!checksumArg(d, name, &canonical, &width)) {
        return false;
    }
    d->bytes = checksumBytes(checksumOf(d, canonical, data), width, bigEndian);
    return true;
}

// 1 true, 0 false, -1 an unknown name.
int verifyChecksumOf(Impl *d, const QByteArray &frame, const QByteArray &name, bool bigEndian)
{
    QString canonical;
    int width = 0;
    if (!checksumArg(d, name, &canonical, &width)) {
        return -1;
    }
    const int count = (width + 7) / 8;
    if (frame.size() <= count) {
        return 0;
    }
    const QByteArray payload = QByteArray::fromRawData(frame.constData(), frame.size() - count);
    return checksumBytes(checksumOf(d, canonical, payload), width, bigEndian) ==
           frame.last(count);
}

// The whole match and each group (nil where a group took no part) into d->values.
bool matchInto(Impl *d, const QByteArray &pattern, const QByteArray &subject)
{
    QRegularExpression regex;
    if (!compileInto(d, AutoReplyMatch::Regex, pattern, &regex)) {
        return false;
    }
    // The subject is matched as Latin-1 text, two bytes a character.
    if (!d->roomFor(2 * qint64(subject.size()))) {
        d->setError("not enough memory");
        return false;
    }
    d->charge(subject.size());
    d->values.clear();
    const QRegularExpressionMatch match = regex.match(QString::fromLatin1(subject));
    if (!match.hasMatch()) {
        d->values.append(Impl::Value());
        return true;
    }
    // The captures become byte strings of their own: together they may be many times
    // the subject (a pattern of many groups that each take it whole).
    qint64 captured = 0;
    for (int group = 0; group <= regex.captureCount(); ++group) {
        captured += std::max<qsizetype>(match.capturedLength(group), 0);
    }
    if (!d->roomFor(captured)) {
        d->setError("not enough memory");
        return false;
    }
    for (int group = 0; group <= regex.captureCount(); ++group) {
        if (match.capturedStart(group) < 0) {
            d->values.append(Impl::Value());
        } else {
            d->values.append(match.capturedView(group).toLatin1());
        }
    }
    return true;
}

void emitText(Impl *d, ScriptOutput::Kind kind, const char *text, size_t length, int line)
{
    d->emitOutput(kind, scriptDisplayText(text, length), line);
}

// --- Sending ---

// Sends d->bytes: from the body by yielding until the port took them, from onReceive
// by queueing them.
int doSend(lua_State *L, Impl *d, bool keepRx)
{
    if (d->callback == Callback::OnStop || d->callback == Callback::Closing) {
        return luaL_error(L, "cannot send inside onStop: the run is over");
    }
    if (d->bytes.isEmpty()) {
        if (d->callback == Callback::None && !keepRx) {
            d->clearRx();
        }
        return 0;
    }
    if (d->callback == Callback::None) {
        if (!lua_isyieldable(L)) {
            return luaL_error(L, "cannot send here: it was called from code that Lua runs for a "
                                 "C function");
        }
        if (!keepRx) {
            d->clearRx();
        }
        d->bodySend = d->bytes;
        return d->suspend(L, Wait::Sending, 0);
    }
    d->sendQueueBytes += d->bytes.size();
    if (d->sendQueueBytes > ScriptEngine::CallbackSendBytes) {
        return raiseFault(L, d, "onReceive queued more than 1024 KB to send at once");
    }
    d->sendQueue.append(Impl::QueuedSend{d->bytes, scriptInnermostLine(L, 1)});
    return 0;
}

int apiSend(lua_State *L)
{
    luaL_checkstring(L, 1);
    const bool keepRx = optKeepRx(L, 2);
    Impl *d = scriptImpl(L);
    d->bytes = argBytes(L, 1);
    return doSend(L, d, keepRx);
}

int apiSendHex(lua_State *L)
{
    luaL_checkstring(L, 1);
    const bool keepRx = optKeepRx(L, 2);
    Impl *d = scriptImpl(L);
    if (!hexToBytes(d, argView(L, 1))) {
        return raiseError(L, d);
    }
    return doSend(L, d, keepRx);
}

int apiSendText(lua_State *L)
{
    luaL_checkstring(L, 1);
    const bool keepRx = optKeepRx(L, 2);
    Impl *d = scriptImpl(L);
    if (!encodeText(d, argView(L, 1))) {
        return raiseError(L, d);
    }
    return doSend(L, d, keepRx);
}

int apiSendLine(lua_State *L)
{
    luaL_checkstring(L, 1);
    int options = 3;
    switch (lua_type(L, 2)) {
    case LUA_TSTRING:
    case LUA_TNONE:
    case LUA_TNIL:
        break;
    case LUA_TTABLE:
        options = 2;
        break;
    default:
        return luaL_argerror(L, 2, "line ending string or options table expected");
    }
    const bool keepRx = optKeepRx(L, options);
    Impl *d = scriptImpl(L);
    d->bytes = argBytes(L, 1);
    if (lua_type(L, 2) == LUA_TSTRING) {
        d->bytes += argBytes(L, 2);
    } else {
        d->bytes += "\r\n";
    }
    return doSend(L, d, keepRx);
}

int apiSendCommand(lua_State *L)
{
    luaL_checkstring(L, 1);
    const bool keepRx = optKeepRx(L, 2);
    Impl *d = scriptImpl(L);
    if (!encodeCommand(d, argBytes(L, 1))) {
        return raiseError(L, d);
    }
    return doSend(L, d, keepRx);
}

// --- Waiting for data ---

int expectText(lua_State *L, const char *call, bool mustMatch)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, call);
    size_t length = 0;
    luaL_checklstring(L, 1, &length);
    if (length == 0) {
        luaL_argerror(L, 1, "the text to expect is empty");
    }
    const qint64 timeout = optTimeout(L, 2);
    prepareExpectText(d, call, mustMatch, argBytes(L, 1));
    return d->suspend(L, Wait::Expect, timeout);
}

int expectPattern(lua_State *L, const char *call, bool mustMatch, AutoReplyMatch match)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, call);
    luaL_checkstring(L, 1);
    const qint64 timeout = optTimeout(L, 2);
    if (!prepareExpectPattern(d, call, mustMatch, match, argBytes(L, 1))) {
        return raiseError(L, d);
    }
    return d->suspend(L, Wait::Expect, timeout);
}

int expectAny(lua_State *L, const char *call, bool mustMatch)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, call);
    luaL_checktype(L, 1, LUA_TTABLE);
    const lua_Unsigned count = lua_rawlen(L, 1);
    if (count == 0) {
        luaL_argerror(L, 1, "the list of texts is empty");
    }
    // Every text is searched for again as data comes in.
    if (count > lua_Unsigned(ScriptApi::MaxExpectTexts)) {
        luaL_error(L, "%s: the list has %I texts; it may have at most %d", call,
                   lua_Integer(count), ScriptApi::MaxExpectTexts);
    }
    const qint64 timeout = optTimeout(L, 2);
    d->expectation = Impl::Expectation();
    for (lua_Unsigned i = 1; i <= count; ++i) {
        size_t length = 0;
        const char *text = nullptr;
        if (lua_rawgeti(L, 1, lua_Integer(i)) == LUA_TSTRING) {
            text = lua_tolstring(L, -1, &length);
        }
        if (!text || length == 0) {
            return luaL_error(L, "%s: item %d of the list is not a non-empty string", call,
                              int(i));
        }
        d->expectation.needles.append(QByteArray(text, qsizetype(length)));
        lua_pop(L, 1);
    }
    prepareExpectAny(d, call, mustMatch);
    return d->suspend(L, Wait::Expect, timeout);
}

int apiExpect(lua_State *L)
{
    return expectText(L, "expect", true);
}

int apiExpectHex(lua_State *L)
{
    return expectPattern(L, "expectHex", true, AutoReplyMatch::Hex);
}

int apiExpectRegex(lua_State *L)
{
    return expectPattern(L, "expectRegex", true, AutoReplyMatch::Regex);
}

int apiExpectAny(lua_State *L)
{
    return expectAny(L, "expectAny", true);
}

int apiTryExpect(lua_State *L)
{
    return expectText(L, "tryExpect", false);
}

int apiTryExpectHex(lua_State *L)
{
    return expectPattern(L, "tryExpectHex", false, AutoReplyMatch::Hex);
}

int apiTryExpectRegex(lua_State *L)
{
    return expectPattern(L, "tryExpectRegex", false, AutoReplyMatch::Regex);
}

int apiTryExpectAny(lua_State *L)
{
    return expectAny(L, "tryExpectAny", false);
}

int apiRead(lua_State *L)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, "read");
    const lua_Integer count = luaL_checkinteger(L, 1);
    if (count < 1 || count > ScriptEngine::MaxReadBytes) {
        luaL_argerror(L, 1, "must be 1 to 65536 bytes");
    }
    const qint64 timeout = optTimeout(L, 2);
    d->readCount = int(count);
    return d->suspend(L, Wait::Read, timeout);
}

int apiReadLine(lua_State *L)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, "readLine");
    const qint64 timeout = optTimeout(L, 1);
    return d->suspend(L, Wait::ReadLine, timeout);
}

int apiReadAll(lua_State *L)
{
    Impl *d = scriptImpl(L);
    pushBytes(L, d->rxBuffer);
    d->clearRx();
    return 1;
}

int apiClearRx(lua_State *L)
{
    scriptImpl(L)->clearRx();
    return 0;
}

int apiSleep(lua_State *L)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, "sleep");
    const lua_Integer ms = luaL_checkinteger(L, 1);
    if (ms < 0 || ms > ScriptEngine::MaxTimeoutMs) {
        luaL_argerror(L, 1, "must be 0 to 86400000 ms");
    }
    return d->suspend(L, Wait::Sleep, ms);
}

int apiIdle(lua_State *L)
{
    Impl *d = scriptImpl(L);
    checkMayWait(L, d, "idle");
    return d->suspend(L, Wait::Idle, 0);
}

// --- Callbacks ---

// Takes the function argument for a callback slot: the old one is released first; a
// function is anchored in the registry, nil or nothing leaves none.
bool setCallback(lua_State *L, int *ref)
{
    const int type = lua_type(L, 1);
    luaL_argexpected(L, type == LUA_TNONE || type == LUA_TNIL || type == LUA_TFUNCTION, 1,
                     "function or nil");
    luaL_unref(L, LUA_REGISTRYINDEX, *ref);
    *ref = LUA_NOREF;
    if (type != LUA_TFUNCTION) {
        return false;
    }
    lua_settop(L, 1);
    *ref = luaL_ref(L, LUA_REGISTRYINDEX);
    return true;
}

void noteOnReceive(Impl *d, bool set)
{
    if (!set) {
        d->rxQueue.clear();
        d->rxQueueBytes = 0;
        d->rxDropped = 0;
        return;
    }
    if (d->port.autoReplyOn && !d->autoReplyWarned) {
        d->autoReplyWarned = true;
        d->emitOutput(ScriptOutput::Warning,
                      ScriptEngine::tr("This port also has Auto Reply rules switched on: the "
                                       "device may get two answers to one request."),
                      -1);
    }
}

int apiOnReceive(lua_State *L)
{
    Impl *d = scriptImpl(L);
    noteOnReceive(d, setCallback(L, &d->onReceiveRef));
    return 0;
}

int apiOnStop(lua_State *L)
{
    Impl *d = scriptImpl(L);
    setCallback(L, &d->onStopRef);
    return 0;
}

// --- Output ---

// The arguments through luaL_tolstring, joined with tabs, as one string on the stack.
void joinArguments(lua_State *L)
{
    const int count = lua_gettop(L);
    luaL_Buffer buffer;
    luaL_buffinit(L, &buffer);
    for (int i = 1; i <= count; ++i) {
        if (i > 1) {
            luaL_addchar(&buffer, '\t');
        }
        luaL_tolstring(L, i, nullptr);
        luaL_addvalue(&buffer);
    }
    luaL_pushresult(&buffer);
}

int emitJoined(lua_State *L, ScriptOutput::Kind kind)
{
    joinArguments(L);
    size_t length = 0;
    const char *text = lua_tolstring(L, -1, &length);
    emitText(scriptImpl(L), kind, text, length, scriptInnermostLine(L, 1));
    return 0;
}

int apiPrint(lua_State *L)
{
    return emitJoined(L, ScriptOutput::Print);
}

int apiLog(lua_State *L)
{
    return emitJoined(L, ScriptOutput::Log);
}

void storeDisplayText(Impl *d, const char *text, size_t length)
{
    d->error = scriptDisplayText(text, length).toUtf8();
}

int apiFail(lua_State *L)
{
    size_t length = 0;
    const char *text = nullptr;
    if (lua_isnoneornil(L, 1)) {
        text = "fail() was called";
        length = std::strlen(text);
    } else {
        text = luaL_tolstring(L, 1, &length);
    }
    Impl *d = scriptImpl(L);
    storeDisplayText(d, text, length);
    if (d->callback == Callback::None && lua_isyieldable(L)) {
        // The body leaves at once; a yield passes every pcall on its way out.
        d->setFault(d->error.constData(), scriptInnermostLine(L, 1));
        d->wait = Wait::Fault;
        return lua_yield(L, 0);
    }
    return raiseFault(L, d, d->error.constData());
}

// --- Time ---

int apiNow(lua_State *L)
{
    Impl *d = scriptImpl(L);
    lua_pushinteger(L, lua_Integer(d->now() - d->startMs));
    return 1;
}

void storeTimestamp(Impl *d)
{
    d->bytes = QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")).toLatin1();
}

int apiTimestamp(lua_State *L)
{
    Impl *d = scriptImpl(L);
    storeTimestamp(d);
    return pushBytes(L, d->bytes);
}

// --- Data ---

// MessageCodec::toHexString, trimmed ("01 0A FF"), written straight into a Lua buffer:
// a large result is refused by the heap's cap before any of it is made.
int apiToHex(lua_State *L)
{
    size_t length = 0;
    const char *data = luaL_checklstring(L, 1, &length);
    if (length == 0) {
        lua_pushliteral(L, "");
        return 1;
    }
    if (length > (size_t(-1) >> 2)) {
        return luaL_error(L, "not enough memory");
    }
    static constexpr char digits[] = "0123456789ABCDEF";
    const size_t size = 3 * length - 1;
    luaL_Buffer buffer;
    char *out = luaL_buffinitsize(L, &buffer, size);
    for (size_t i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(data[i]);
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 0x0F];
        if (i + 1 < length) {
            *out++ = ' ';
        }
    }
    luaL_pushresultsize(&buffer, size);
    return 1;
}

int apiFromHex(lua_State *L)
{
    luaL_checkstring(L, 1);
    Impl *d = scriptImpl(L);
    if (!hexToBytes(d, argView(L, 1))) {
        return raiseError(L, d);
    }
    return pushScratch(L, d);
}

int apiChecksum(lua_State *L)
{
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    Impl *d = scriptImpl(L);
    quint64 value = 0;
    if (!computeChecksum(d, argView(L, 1), argView(L, 2), &value)) {
        return raiseError(L, d);
    }
    lua_pushinteger(L, lua_Integer(value));
    return 1;
}

int apiAppendChecksum(lua_State *L)
{
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    const bool bigEndian = optBigEndian(L, 3);
    Impl *d = scriptImpl(L);
    if (!appendChecksumTo(d, argView(L, 1), argView(L, 2), bigEndian)) {
        return raiseError(L, d);
    }
    // The frame is made in Lua, as one string: data, then the checksum.
    lua_settop(L, 1);
    pushScratch(L, d);
    lua_concat(L, 2);
    return 1;
}

int apiVerifyChecksum(lua_State *L)
{
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    const bool bigEndian = optBigEndian(L, 3);
    Impl *d = scriptImpl(L);
    const int verdict = verifyChecksumOf(d, argView(L, 1), argView(L, 2), bigEndian);
    if (verdict < 0) {
        return raiseError(L, d);
    }
    lua_pushboolean(L, verdict);
    return 1;
}

int apiRegex(lua_State *L)
{
    luaL_checkstring(L, 1);
    luaL_checkstring(L, 2);
    Impl *d = scriptImpl(L);
    if (!matchInto(d, argView(L, 1), argView(L, 2))) {
        return raiseError(L, d);
    }
    return pushScratchValues(L, d);
}

bool encodeForPort(Impl *d, const QByteArray &text)
{
    if (!d->roomFor(encodingCopies(text.size()))) {
        d->setError("not enough memory");
        return false;
    }
    d->charge(text.size());
    const WireTextCodecRegistry::Encoded encoded =
        WireTextCodecRegistry::encode(QString::fromUtf8(text), d->port.format.sendEncoding);
    if (!encoded.ok) {
        d->setError(encoded.error);
        return false;
    }
    d->bytes = encoded.bytes;
    return true;
}

bool decodeFromPort(Impl *d, const QByteArray &bytes)
{
    // The text as UTF-16 (a character a byte at most), then as UTF-8 (three bytes a
    // character at most).
    if (!d->roomFor(5 * qint64(bytes.size()) + 64)) {
        d->setError("not enough memory");
        return false;
    }
    d->charge(bytes.size());
    const WireTextDecoderPtr decoder =
        WireTextCodecRegistry::createDecoder(d->port.format.receiveEncoding);
    QString text = decoder->decode(bytes);
    if (!decoder->pendingBytes().isEmpty()) {
        text += QChar(QChar::ReplacementCharacter); // a character cut off at the end
    }
    d->bytes = text.toUtf8();
    return true;
}

int apiEncode(lua_State *L)
{
    luaL_checkstring(L, 1);
    Impl *d = scriptImpl(L);
    if (!encodeForPort(d, argView(L, 1))) {
        return raiseError(L, d);
    }
    return pushScratch(L, d);
}

int apiDecode(lua_State *L)
{
    luaL_checkstring(L, 1);
    Impl *d = scriptImpl(L);
    if (!decodeFromPort(d, argView(L, 1))) {
        return raiseError(L, d);
    }
    return pushScratch(L, d);
}

// In registration order.
constexpr luaL_Reg functions[] = {
    {"send", apiSend},
    {"sendHex", apiSendHex},
    {"sendText", apiSendText},
    {"sendLine", apiSendLine},
    {"sendCommand", apiSendCommand},
    {"expect", apiExpect},
    {"expectHex", apiExpectHex},
    {"expectRegex", apiExpectRegex},
    {"expectAny", apiExpectAny},
    {"tryExpect", apiTryExpect},
    {"tryExpectHex", apiTryExpectHex},
    {"tryExpectRegex", apiTryExpectRegex},
    {"tryExpectAny", apiTryExpectAny},
    {"read", apiRead},
    {"readLine", apiReadLine},
    {"readAll", apiReadAll},
    {"clearRx", apiClearRx},
    {"sleep", apiSleep},
    {"idle", apiIdle},
    {"onReceive", apiOnReceive},
    {"onStop", apiOnStop},
    {"print", apiPrint},
    {"log", apiLog},
    {"fail", apiFail},
    {"now", apiNow},
    {"timestamp", apiTimestamp},
    {"toHex", apiToHex},
    {"fromHex", apiFromHex},
    {"checksum", apiChecksum},
    {"appendChecksum", apiAppendChecksum},
    {"verifyChecksum", apiVerifyChecksum},
    {"regex", apiRegex},
    {"encode", apiEncode},
    {"decode", apiDecode},
};
static_assert(std::size(functions) == 34);

// --- Guarded base functions ---

// setmetatable that refuses finalizers: a __gc would run script code at moments no
// budget covers, down to the closing of the state.
int guardedSetmetatable(lua_State *L)
{
    if (lua_type(L, 2) == LUA_TTABLE) {
        lua_pushliteral(L, "__gc");
        if (lua_rawget(L, 2) != LUA_TNIL) {
            return luaL_error(L, "__gc is not available in scripts");
        }
        lua_pop(L, 1);
    }
    luaL_checktype(L, 1, LUA_TTABLE);
    const int type = lua_type(L, 2);
    luaL_argexpected(L, type == LUA_TNIL || type == LUA_TTABLE, 2, "nil or table");
    lua_settop(L, 2);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, 2, 1);
    return 1;
}

// What catching an error costs in C beyond the script's own instructions: unwinding
// the stack and making the message. Charged, so that a loop of failing protected calls
// pauses as often as the work it does.
constexpr long long CaughtErrorCost = 300;

// How a protected call ends, as the library's pcall ends it, with the error charged.
// In the body (a coroutine) an error reaches this as the continuation, from lua_resume.
int pcallFinish(lua_State *L, int status, lua_KContext extra)
{
    if (status != LUA_OK && status != LUA_YIELD) {
        scriptCharge(L, CaughtErrorCost);
        lua_pushboolean(L, 0);
        lua_pushvalue(L, -2);
        return 2;
    }
    return lua_gettop(L) - int(extra);
}

// pcall as the library has it, charged for the error it catches.
int guardedPcall(lua_State *L)
{
    luaL_checkany(L, 1);
    lua_pushboolean(L, 1); // the first result when there is no error
    lua_insert(L, 1);
    const int status = lua_pcallk(L, lua_gettop(L) - 2, LUA_MULTRET, 0, 0, pcallFinish);
    return pcallFinish(L, status, 0);
}

// The message handler that xpcall passes on: silent while the run is being ended, so
// that a script cannot stay alive inside its handler.
int guardedHandler(lua_State *L)
{
    const Impl *d = scriptImpl(L);
    scriptCharge(L, CaughtErrorCost);
    if (d->budgetExceeded || d->fault.pending) {
        lua_settop(L, 1);
        return 1;
    }
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    lua_call(L, lua_gettop(L) - 1, 1);
    return 1;
}

int xpcallContinuation(lua_State *L, int, lua_KContext)
{
    return lua_gettop(L);
}

int guardedXpcall(lua_State *L)
{
    luaL_checktype(L, 2, LUA_TFUNCTION);
    lua_pushvalue(L, 2);
    lua_pushcclosure(L, guardedHandler, 1);
    lua_replace(L, 2);
    lua_pushvalue(L, lua_upvalueindex(1));
    lua_insert(L, 1);
    // With a continuation, so that the body can still wait inside xpcall.
    lua_callk(L, lua_gettop(L) - 1, LUA_MULTRET, 0, xpcallContinuation);
    return xpcallContinuation(L, LUA_OK, 0);
}

void wrapGlobal(lua_State *L, const char *name, lua_CFunction wrapper)
{
    lua_getglobal(L, name);
    lua_pushcclosure(L, wrapper, 1);
    lua_setglobal(L, name);
}

// --- port ---

int portNewindex(lua_State *L)
{
    return luaL_error(L, "port is read-only");
}

int portTostring(lua_State *L)
{
    const Impl *d = scriptImpl(L);
    lua_pushliteral(L, "port: ");
    pushBytes(L, d->portName);
    lua_concat(L, 2);
    return 1;
}

void createPort(lua_State *L)
{
    const Impl *d = scriptImpl(L);
    lua_newuserdatauv(L, 0, 0);
    lua_createtable(L, 0, 4);
    lua_createtable(L, 0, 2);
    pushBytes(L, d->portName);
    lua_setfield(L, -2, "name");
    pushBytes(L, d->portMode);
    lua_setfield(L, -2, "mode");
    lua_setfield(L, -2, "__index");
    lua_pushcfunction(L, portNewindex);
    lua_setfield(L, -2, "__newindex");
    lua_pushcfunction(L, portTostring);
    lua_setfield(L, -2, "__tostring");
    lua_pushboolean(L, 0);
    lua_setfield(L, -2, "__metatable");
    lua_setmetatable(L, -2);
    lua_setglobal(L, "port");
}

// --- Strict globals ---

// Upvalue 1 is the set of declared names.
int strictIndex(lua_State *L)
{
    if (lua_type(L, 2) == LUA_TSTRING) {
        lua_pushvalue(L, 2);
        if (lua_rawget(L, lua_upvalueindex(1)) == LUA_TNIL) {
            return luaL_error(L, "variable '%s' is not defined", lua_tostring(L, 2));
        }
    }
    lua_pushnil(L);
    return 1;
}

int strictNewindex(lua_State *L)
{
    if (lua_type(L, 2) == LUA_TSTRING) {
        lua_pushvalue(L, 2);
        lua_pushboolean(L, 1);
        lua_rawset(L, lua_upvalueindex(1));
    }
    lua_settop(L, 3);
    lua_rawset(L, 1);
    return 0;
}

void makeGlobalsStrict(lua_State *L)
{
    lua_pushglobaltable(L);
    const int globals = lua_gettop(L);
    lua_newtable(L);
    const int declared = lua_gettop(L);
    lua_pushnil(L);
    while (lua_next(L, globals) != 0) {
        lua_pop(L, 1);
        if (lua_type(L, -1) == LUA_TSTRING) {
            lua_pushvalue(L, -1);
            lua_pushboolean(L, 1);
            lua_rawset(L, declared);
        }
    }
    lua_createtable(L, 0, 2);
    lua_pushvalue(L, declared);
    lua_pushcclosure(L, strictIndex, 1);
    lua_setfield(L, -2, "__index");
    lua_pushvalue(L, declared);
    lua_pushcclosure(L, strictNewindex, 1);
    lua_setfield(L, -2, "__newindex");
    lua_setmetatable(L, globals);
    lua_settop(L, globals - 1);
}

} // namespace

void ScriptApi::install(lua_State *L)
{
    wrapGlobal(L, "setmetatable", guardedSetmetatable);
    lua_register(L, "pcall", guardedPcall);
    wrapGlobal(L, "xpcall", guardedXpcall);
    for (const luaL_Reg &function : functions) {
        lua_register(L, function.name, function.func);
    }
    installLibraryGuards(L);
    createPort(L);
    makeGlobalsStrict(L);
}

QStringList ScriptApi::functionNames()
{
    QStringList names;
    names.reserve(qsizetype(std::size(functions)));
    for (const luaL_Reg &function : functions) {
        names << QString::fromLatin1(function.name);
    }
    return names;
}
