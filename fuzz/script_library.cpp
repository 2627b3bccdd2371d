// Reads the input as a project's script library and as a ".lua" file. Every script read
// must keep to the limits (at most 64 scripts, names of 1 to 80 characters without
// surrounding blanks, sources of at most 262144 UTF-8 bytes with "\n" line ends only);
// saving what was read and reading it again gives the same library, and so does writing
// a script to a file and reading it back.

#include "scripting/scriptlibrarycodec.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {
void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}

// QSettings caches files by path, so every file gets a name of its own.
QString freshPath(const QTemporaryDir &dir, const char *suffix)
{
    static quint64 counter = 0;
    return dir.filePath(QStringLiteral("s%1.%2").arg(++counter).arg(QLatin1String(suffix)));
}

bool writeFile(const QString &path, const uint8_t *data, size_t size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) &&
           file.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size);
}

void checkScript(const Script &script)
{
    check(!script.name.isEmpty() && script.name.size() <= ScriptLibrary::MaxNameLength,
          "name length");
    check(script.name == script.name.trimmed(), "name trimmed");
    check(script.source.toUtf8().size() <= ScriptLibraryCodec::MaxSourceBytes, "source size");
    check(!script.source.contains(QLatin1Char('\r')), "line ends");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    const QString prefix = QStringLiteral("ScriptLibrary/");

    const QString iniPath = freshPath(dir, "vlm");
    if (!writeFile(iniPath, data, size)) {
        return 0;
    }
    ScriptLibrary first;
    {
        QSettings settings(iniPath, QSettings::IniFormat);
        first = ScriptLibraryCodec::load(settings, prefix);
    }
    check(first.scripts.size() <= ScriptLibrary::MaxScripts, "script count");
    for (const Script &script : std::as_const(first.scripts)) {
        checkScript(script);
    }
    const QString againPath = freshPath(dir, "vlm");
    {
        QSettings settings(againPath, QSettings::IniFormat);
        ScriptLibraryCodec::save(settings, prefix, first);
    }
    {
        QSettings settings(againPath, QSettings::IniFormat);
        check(ScriptLibraryCodec::load(settings, prefix) == first, "library round trip");
    }
    QFile::remove(iniPath);
    QFile::remove(againPath);

    const QString luaPath = freshPath(dir, "lua");
    if (!writeFile(luaPath, data, size)) {
        return 0;
    }
    Script read;
    QString error;
    const bool ok = ScriptLibraryCodec::readScriptFile(luaPath, &read, &error);
    if (ok) {
        check(read.source.toUtf8().size() <= ScriptLibraryCodec::MaxSourceBytes, "file size");
        check(!read.source.contains(QLatin1Char('\r')), "file line ends");
        const QString outPath = freshPath(dir, "lua");
        check(ScriptLibraryCodec::writeScriptFile(outPath, read, &error), "write");
        Script back;
        check(ScriptLibraryCodec::readScriptFile(outPath, &back, &error), "read back");
        check(back.source == read.source, "file round trip");
        QFile::remove(outPath);
    } else {
        check(!error.isEmpty(), "a refusal says why");
    }
    QFile::remove(luaPath);
    return 0;
}
