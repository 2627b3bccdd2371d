// The scrubber and the home folder redaction of the diagnostic pack.

#include "recording/diagnosticpack.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <array>

namespace {

const QByteArray Redacted = QByteArrayLiteral("[redacted]");

// Folder names that stand in ordinary paths: scrubbing a user name like these would
// tear holes in every path.
const QSet<QString> &commonFolderNames()
{
    static const QSet<QString> names = {
        QStringLiteral("dev"),        QStringLiteral("usr"),           QStringLiteral("tmp"),
        QStringLiteral("var"),        QStringLiteral("data"),          QStringLiteral("home"),
        QStringLiteral("bin"),        QStringLiteral("sbin"),          QStringLiteral("etc"),
        QStringLiteral("lib"),        QStringLiteral("lib64"),         QStringLiteral("opt"),
        QStringLiteral("mnt"),        QStringLiteral("media"),         QStringLiteral("root"),
        QStringLiteral("user"),       QStringLiteral("users"),         QStringLiteral("admin"),
        QStringLiteral("public"),     QStringLiteral("default"),       QStringLiteral("guest"),
        QStringLiteral("srv"),        QStringLiteral("run"),           QStringLiteral("proc"),
        QStringLiteral("sys"),        QStringLiteral("boot"),          QStringLiteral("system"),
        QStringLiteral("library"),    QStringLiteral("applications"),  QStringLiteral("volumes"),
        QStringLiteral("private"),    QStringLiteral("shared"),        QStringLiteral("documents"),
        QStringLiteral("desktop"),    QStringLiteral("downloads"),     QStringLiteral("appdata"),
        QStringLiteral("local"),      QStringLiteral("roaming"),       QStringLiteral("program files"),
        QStringLiteral("windows"),    QStringLiteral("containers"),    QStringLiteral("snap"),
        QStringLiteral("current"),
    };
    return names;
}

// Host names that every installation of a system carries: they say nothing about whose
// machine it is.
const QSet<QString> &stockHostNames()
{
    static const QSet<QString> names = {
        QStringLiteral("ubuntu"),  QStringLiteral("debian"),      QStringLiteral("kali"),
        QStringLiteral("fedora"),  QStringLiteral("centos"),      QStringLiteral("rhel"),
        QStringLiteral("arch"),    QStringLiteral("manjaro"),     QStringLiteral("alpine"),
        QStringLiteral("raspberrypi"), QStringLiteral("raspbian"), QStringLiteral("opensuse"),
        QStringLiteral("suse"),    QStringLiteral("mint"),        QStringLiteral("pop"),
        QStringLiteral("linux"),   QStringLiteral("localhost"),   QStringLiteral("darwin"),
        QStringLiteral("winnt"),   QStringLiteral("macos"),       QStringLiteral("osx"),
        QStringLiteral("freebsd"), QStringLiteral("android"),     QStringLiteral("ios"),
    };
    return names;
}

void sortLongestFirst(QList<QByteArray> &list)
{
    std::sort(list.begin(), list.end(), [](const QByteArray &a, const QByteArray &b) {
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    });
}

void appendUnique(QList<QByteArray> &list, const QByteArray &item)
{
    if (!item.isEmpty() && !list.contains(item)) {
        list.append(item);
    }
}

// Names and hosts: lower-cased, long enough and not on the stock list.
QList<QByteArray> prepareNames(const QStringList &names, qsizetype minLength,
                               const QSet<QString> &stock)
{
    QList<QByteArray> out;
    for (const QString &name : names) {
        const QString lower = name.trimmed().toLower();
        if (lower.size() >= minLength && !stock.contains(lower)) {
            appendUnique(out, lower.toUtf8());
        }
    }
    sortLongestFirst(out);
    return out;
}

// Only ASCII bytes fold: the needles are lower-cased, and bytes of other characters
// must match as they are.
inline uchar fold(uchar c)
{
    return (c >= 'A' && c <= 'Z') ? uchar(c + 32) : c;
}

// A letter, digit, "_" or "-": such a neighbour means the hit is part of a longer word.
inline bool isWordByte(uchar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           c == '_' || c == '-';
}

enum class Mode {
    Exact,
    Word,
    Host,
};

// One pass over `in`: at each position the needles that start with its byte are tried
// longest first. A "[redacted]" already in the text is stepped over whole, so a later
// pass never counts the replacement of an earlier one. The output is only built once
// something was found.
QByteArray scan(const QByteArray &in, const QList<QByteArray> &needles, Mode mode,
                qint64 &count)
{
    if (needles.isEmpty() || in.isEmpty()) {
        return in;
    }
    const bool foldCase = mode != Mode::Exact;
    std::array<QList<const QByteArray *>, 256> byFirst;
    // Bytes worth a look: a needle's first byte (in both cases when case folds) and the
    // start of a mark. All others are skipped in a tight loop.
    std::array<bool, 256> interesting{};
    interesting[uchar('[')] = true;
    for (const QByteArray &needle : needles) {
        const auto first = uchar(needle.at(0));
        byFirst[first].append(&needle);
        interesting[first] = true;
        if (foldCase && first >= 'a' && first <= 'z') {
            interesting[first - 32] = true;
        }
    }
    const auto *data = reinterpret_cast<const uchar *>(in.constData());
    const qsizetype n = in.size();
    QByteArray out;
    bool changed = false;
    qsizetype copied = 0; // bytes of `in` before this are already in `out`
    qsizetype i = 0;
    while (i < n) {
        while (i < n && !interesting[data[i]]) {
            ++i;
        }
        if (i >= n) {
            break;
        }
        if (data[i] == '[' && n - i >= Redacted.size() &&
            memcmp(data + i, Redacted.constData(), size_t(Redacted.size())) == 0) {
            i += Redacted.size();
            continue;
        }
        const uchar c = foldCase ? fold(data[i]) : data[i];
        const QList<const QByteArray *> &candidates = byFirst[c];
        if (candidates.isEmpty() || (mode != Mode::Exact && i > 0 && isWordByte(data[i - 1]))) {
            ++i;
            continue;
        }
        qsizetype hit = 0;
        for (const QByteArray *needle : candidates) {
            const qsizetype len = needle->size();
            if (len > n - i) {
                continue;
            }
            const auto *p = reinterpret_cast<const uchar *>(needle->constData());
            qsizetype k = 1;
            if (foldCase) {
                while (k < len && fold(data[i + k]) == p[k]) {
                    ++k;
                }
            } else {
                while (k < len && data[i + k] == p[k]) {
                    ++k;
                }
            }
            if (k < len) {
                continue;
            }
            // A host name followed by "." is a host with its domain behind it; a "."
            // is no word byte, so both rules end a hit there.
            if (mode != Mode::Exact && i + len < n && isWordByte(data[i + len])) {
                continue;
            }
            hit = len;
            break;
        }
        if (hit == 0) {
            ++i;
            continue;
        }
        if (!changed) {
            out.reserve(n + 64);
            changed = true;
        }
        out.append(in.constData() + copied, i - copied);
        out.append(Redacted);
        ++count;
        i += hit;
        copied = i;
    }
    if (!changed) {
        return in;
    }
    out.append(in.constData() + copied, n - copied);
    return out;
}

} // namespace

DiagnosticPack::Scrubber::Scrubber(const QStringList &machineIds, const QStringList &userNames,
                                   const QStringList &hostNames)
{
    for (const QString &id : machineIds) {
        QString bare = id;
        bare.remove(u'-');
        for (const QString &form : {id, bare}) {
            for (const QString &cased : {form, form.toUpper(), form.toLower()}) {
                if (cased.size() >= 8) {
                    appendUnique(exact, cased.toUtf8());
                }
            }
        }
    }
    sortLongestFirst(exact);
    words = prepareNames(userNames, 3, commonFolderNames());
    hosts = prepareNames(hostNames, 3, stockHostNames());
}

QByteArray DiagnosticPack::Scrubber::apply(const QByteArray &bytes)
{
    QByteArray out = scan(bytes, exact, Mode::Exact, replaced);
    out = scan(out, words, Mode::Word, replaced);
    return scan(out, hosts, Mode::Host, replaced);
}

QString DiagnosticPack::Scrubber::applyToName(const QString &text)
{
    return QString::fromUtf8(apply(text.toUtf8()));
}

QString DiagnosticPack::redactHome(const QString &text, const QString &home)
{
    QString path = home;
    path.replace(u'\\', u'/');
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    // A home of "/" or nothing would match every separator.
    if (path.isEmpty() || text.isEmpty()) {
        return text;
    }
    QStringList parts = path.split(u'/');
    for (QString &part : parts) {
        part = QRegularExpression::escape(part);
    }
    const QRegularExpression pattern(QStringLiteral("(?<![A-Za-z0-9_])") +
                                         parts.join(QStringLiteral("[/\\\\]")) +
                                         QStringLiteral("(?=$|[/\\\\])"),
                                     QRegularExpression::CaseInsensitiveOption);
    QString out = text;
    out.replace(pattern, QStringLiteral("~"));
    return out;
}

QString DiagnosticPack::redactHome(const QString &text, const QStringList &homes)
{
    QStringList sorted = homes;
    std::sort(sorted.begin(), sorted.end(), [](const QString &a, const QString &b) {
        return a.size() != b.size() ? a.size() > b.size() : a < b;
    });
    QString out = text;
    for (const QString &home : sorted) {
        out = redactHome(out, home);
    }
    return out;
}
