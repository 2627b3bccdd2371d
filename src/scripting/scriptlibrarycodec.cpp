#include "scripting/scriptlibrarycodec.h"

#include "common/storedvaluereader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QSettings>

namespace {
const QString ScriptsGroup = QStringLiteral("Scripts");
const QString CountKey = QStringLiteral("Count");

QString key(const QString &group, int index, const char *name)
{
    return QStringLiteral("%1/%2/%3").arg(group).arg(index).arg(QLatin1String(name));
}

void fail(QString *error, const QString &text)
{
    if (error) {
        *error = text;
    }
}

bool isContinuation(char byte)
{
    return (uchar(byte) & 0xC0) == 0x80;
}
} // namespace

void ScriptLibraryCodec::save(QSettings &settings, const QString &prefix,
                              const ScriptLibrary &library)
{
    const QString group = prefix + ScriptsGroup;
    settings.remove(group);
    const int count = int(std::min<qsizetype>(library.scripts.size(), ScriptLibrary::MaxScripts));
    settings.setValue(group + u'/' + CountKey, count);
    for (int i = 0; i < count; ++i) {
        const Script &script = library.scripts.at(i);
        settings.setValue(key(group, i, "Name"), script.name);
        settings.setValue(key(group, i, "Source"), script.source);
    }
}

ScriptLibrary ScriptLibraryCodec::load(QSettings &settings, const QString &prefix)
{
    const QString group = prefix + ScriptsGroup;
    const int count = StoredValueReader::readInt(settings, group + u'/' + CountKey, 0, 0,
                                                 ScriptLibrary::MaxScripts);
    ScriptLibrary library;
    library.scripts.reserve(count);
    for (int i = 0; i < count; ++i) {
        Script script;
        script.name = clampName(StoredValueReader::readString(settings, key(group, i, "Name"),
                                                              QString()));
        if (script.name.isEmpty()) {
            script.name = tr("Script %1").arg(i + 1);
        }
        script.source = clampSource(normalizeLineEnds(
            StoredValueReader::readString(settings, key(group, i, "Source"), QString())));
        library.scripts << script;
    }
    return library;
}

bool ScriptLibraryCodec::contains(QSettings &settings, const QString &prefix)
{
    return settings.contains(prefix + ScriptsGroup + u'/' + CountKey);
}

ScriptLibrary ScriptLibraryCodec::loadOrSamples(QSettings &settings, const QString &prefix)
{
    return contains(settings, prefix) ? load(settings, prefix) : ScriptLibrary::samples();
}

QString ScriptLibraryCodec::clampName(const QString &name)
{
    QString clamped = name.trimmed().left(ScriptLibrary::MaxNameLength);
    // Never leave half of a surrogate pair at the end, nor blanks the cut uncovered.
    if (!clamped.isEmpty() && clamped.back().isHighSurrogate()) {
        clamped.chop(1);
    }
    return clamped.trimmed();
}

QString ScriptLibraryCodec::clampSource(const QString &source)
{
    QByteArray bytes = source.toUtf8();
    if (bytes.size() <= MaxSourceBytes) {
        return source;
    }
    qsizetype cut = MaxSourceBytes;
    // bytes[cut] is the first byte left out; back up to the start of its sequence.
    while (cut > 0 && isContinuation(bytes.at(cut))) {
        --cut;
    }
    bytes.truncate(cut);
    return QString::fromUtf8(bytes);
}

QString ScriptLibraryCodec::normalizeLineEnds(const QString &text)
{
    QString normalized = text;
    normalized.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    normalized.replace(u'\r', u'\n');
    return normalized;
}

bool ScriptLibraryCodec::readScriptFile(const QString &path, Script *out, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(error, tr("Cannot open %1: %2").arg(QDir::toNativeSeparators(path), file.errorString()));
        return false;
    }
    // The limit holds for the script as it is kept: without a byte order mark and with
    // "\n" line ends. A file exported with "\r\n" may therefore be up to twice the limit
    // (a script of empty lines), and still imports; reading stops one byte past that.
    QByteArray bytes = file.read(2 * qint64(MaxSourceBytes) + 3 + 1);
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        bytes.remove(0, 3);
    }
    const QFileInfo info(path);
    const bool readWhole = bytes.size() <= 2 * qint64(MaxSourceBytes);
    // Only the one byte order mark removed above is dropped; QString::fromUtf8 would
    // silently take a second.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringConverter::Flag::ConvertInitialBom);
    const QString source = readWhole ? normalizeLineEnds(utf8.decode(bytes)) : QString();
    // A file in another encoding (a legacy code page, say) would import with its
    // characters replaced; it is refused with the reason instead.
    if (readWhole && utf8.hasError()) {
        fail(error, tr("%1 is not UTF-8 text. Save it with the UTF-8 encoding and import it "
                       "again.")
                        .arg(info.fileName()));
        return false;
    }
    if (!readWhole || source.toUtf8().size() > MaxSourceBytes) {
        fail(error, tr("%1 is larger than %2 KB, the most a script can be.")
                        .arg(info.fileName())
                        .arg(MaxSourceBytes / 1024));
        return false;
    }
    Script script;
    script.name = clampName(info.completeBaseName());
    if (script.name.isEmpty()) {
        script.name = tr("Imported");
    }
    script.source = source;
    *out = script;
    return true;
}

bool ScriptLibraryCodec::writeScriptFile(const QString &path, const Script &script,
                                         QString *error)
{
    QSaveFile file(path);
    const auto cannotWrite = [&] {
        fail(error, tr("Cannot write %1: %2").arg(QDir::toNativeSeparators(path), file.errorString()));
        return false;
    };
    if (!file.open(QIODevice::WriteOnly)) {
        return cannotWrite();
    }
    QString text = normalizeLineEnds(script.source);
    text.replace(u'\n', QStringLiteral("\r\n"));
    // A source that itself starts with U+FEFF gets a byte order mark in front, since the
    // reader drops the first one.
    if (text.startsWith(QChar(0xFEFF))) {
        text.prepend(QChar(0xFEFF));
    }
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        return cannotWrite();
    }
    return true;
}
