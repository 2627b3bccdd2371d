// Loads the input as a project file and checks that every value read lies within its
// limits, then saves what was read and loads it again: the second reading must equal the
// first, except for the rotation settings, which a project never writes.

#include "app/projectcodec.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
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

bool oneOf(qint32 value, std::initializer_list<qint32> allowed)
{
    return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
}

// QSettings caches files by path, so every file gets a name of its own.
QString freshPath(const QTemporaryDir &dir)
{
    static quint64 counter = 0;
    return dir.filePath(QStringLiteral("p%1.vlm").arg(++counter));
}

void checkPort(const ProjectPortRecord &port)
{
    const Settings &s = port.settings;
    const FormatSetting &f = port.format;
    check(s.baudRate >= 0 && s.baudRate <= 100000000, "baud rate");
    check(oneOf(s.dataBits, {0, 5, 6, 7, 8}) && s.stringDataBits == QString::number(s.dataBits),
          "data bits");
    check(oneOf(s.parity, {0, 2, 3, 4, 5}) && s.stringParity == serialParityText(s.parity),
          "parity");
    check(oneOf(s.stopBits, {0, 1, 2, 3}) && s.stringStopBits == serialStopBitsText(s.stopBits),
          "stop bits");
    check(oneOf(s.flowControl, {0, 1, 2}) &&
              s.stringFlowControl == serialFlowControlText(s.flowControl),
          "flow control");
    check(s.connMode >= ModeSerial && s.connMode <= ModeLiveRelay, "mode");
    check(s.targetPort >= 0 && s.targetPort <= 65535, "target port");
    for (const QString &host : s.targetHostList) {
        check(!host.isEmpty() && host == host.trimmed(), "hosts trimmed, none blank");
        check(s.targetHostList.count(host) == 1, "hosts without duplicates");
        check(!host.contains(QStringLiteral("-||-")), "hosts split");
    }
    check(s.targetHost == (s.targetHostList.isEmpty() ? QString() : s.targetHostList.last()),
          "current host is the newest");

    check(oneOf(f.receiveMsgFormat, {HexFormat, TextFormat}), "receive format");
    check(oneOf(f.sendMsgFormat, {HexFormat, TextFormat}), "send format");
    check(!f.receiveEncoding.trimmed().isEmpty() && !f.sendEncoding.trimmed().isEmpty(),
          "encodings");
    for (const _tagLineEndingMode mode :
         {f.rxLineEndingMode, f.txLineEndingMode, f.terminalEnterMode}) {
        check(mode >= LineEndingNone && mode <= LineEndingLFCR, "line ending");
    }
    check(f.txAutoFeedLine() == (f.txLineEndingMode != LineEndingNone), "tx flag follows mode");
    check(f.sendChecksum >= 0 && f.sendChecksum <= 5, "checksum");
    check(f.sendTimeUnit >= 1, "time unit");
    check(f.sendInterval >= 0 && f.autoFeedInterval >= 0 && f.splitterLeft >= 0 &&
              f.splitterRight >= 0 && f.displayBufferSize >= 0 && f.logRotateSize >= 0,
          "quantities not negative");
    check(!f.rxTimeFormat.trimmed().isEmpty() && !f.txTimeFormat.trimmed().isEmpty(),
          "time formats");
    check(f.logFont.pointSize >= 0 && f.logFont.pointSize <= 1000, "font size");
    check(f.logFont.weight >= 0 && f.logFont.weight <= 1000, "font weight");
    for (const QString &color : {f.sendTextColor, f.receiveTextColor}) {
        check(color.isEmpty() || (StoredValueReader::isColor(color) && color == color.toLower()),
              "colours");
    }
}

// What a port reads back as once saved: the rotation keys are not written.
ProjectPortRecord withoutRotation(ProjectPortRecord port)
{
    port.format.logRotateAtSize = false;
    port.format.logRotateSize = 0;
    port.format.logRotateAtTime = false;
    port.format.logRotateTime = QTime();
    port.format.needHourTimeStamp = false;
    return port;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir dir;
    const QString inputPath = freshPath(dir);
    {
        QFile file(inputPath);
        if (!file.open(QIODevice::WriteOnly)) {
            return 0;
        }
        file.write(reinterpret_cast<const char *>(data), qint64(size));
    }

    ProjectRecord first;
    {
        QSettings settings(inputPath, QSettings::IniFormat);
        first = ProjectCodec::load(settings);
    }
    check(first.portCount() >= 1 && first.portCount() <= ProjectCodec::MaxPorts, "port count");
    check(first.columnCount >= 1 && first.columnCount <= ProjectCodec::MaxColumns, "columns");
    check(first.layoutMode == ProjectRecord::GridLayout ||
              first.layoutMode == ProjectRecord::TabLayout,
          "layout mode");
    QStringList order = first.quickSettings.groupOrder();
    order.sort();
    QStringList known = QuickSettingsGroups::defaultGroupOrder();
    known.sort();
    check(order == known, "group order is a permutation of the known groups");
    for (const ProjectPortRecord &port : first.ports) {
        checkPort(port);
    }

    // Save into the file that was read, so that the save also meets whatever the input
    // left there, then read it back from a copy that is parsed anew.
    QString savedPath = inputPath;
    {
        QSettings settings(inputPath, QSettings::IniFormat);
        ProjectCodec::save(settings, first);
        settings.sync();
        // QSettings does not write over a file it could not parse.
        if (settings.status() != QSettings::NoError) {
            savedPath = freshPath(dir);
            QSettings fresh(savedPath, QSettings::IniFormat);
            ProjectCodec::save(fresh, first);
        }
    }
    const QString copyPath = freshPath(dir);
    QFile::copy(savedPath, copyPath);
    ProjectRecord second;
    {
        QSettings settings(copyPath, QSettings::IniFormat);
        second = ProjectCodec::load(settings);
    }
    ProjectRecord expected = first;
    for (ProjectPortRecord &port : expected.ports) {
        port = withoutRotation(port);
    }
    check(second == expected, "a saved project reads back as it was read");

    QFile::remove(inputPath);
    QFile::remove(savedPath);
    QFile::remove(copyPath);
    return 0;
}
