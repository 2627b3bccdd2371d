#pragma once

// Port records with every stored field away from both its record default and the
// default a missing key reads as, and a way to read an ini file as written to disk.

#include "connection/settings.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

inline void makeUnusual(Settings &s, FormatSetting &f, int i)
{
    s.connMode = connectionModeFromInt(i % 9);
    s.name = QStringLiteral("ポート-%1 Ünï").arg(i);
    s.baudRate = 1200 * (i + 1);
    s.dataBits = 5 + i % 3;
    s.stringDataBits = QString::number(s.dataBits);
    s.parity = 2 + i % 4;
    s.stringParity = serialParityText(s.parity);
    s.stopBits = 2 + i % 2;
    s.stringStopBits = serialStopBitsText(s.stopBits);
    s.flowControl = 1 + i % 2;
    s.stringFlowControl = serialFlowControlText(s.flowControl);
    s.dtrOn = s.rtsOn = s.useRemoteSerialConfig = false;
    s.relayCid = QStringLiteral("cid-%1").arg(i);
    s.relayPortName = QStringLiteral("COM%1").arg(i);
    s.relayPortKey = QStringLiteral("ser-%1").arg(i);
    s.relayShareLabel = QStringLiteral("bench, lab \"7\"");
    s.relayGuestName = QStringLiteral("Zoë");
    s.targetPort = 2217 + i;
    s.targetHostList = {QStringLiteral("10.0.0.%1").arg(i), QStringLiteral("::1"),
                        QStringLiteral("bench.example")};
    s.targetHost = QStringLiteral("bench.example");
    s.udpLocalPort = quint16(40000 + i);
    s.udpServerPort = quint16(30000 + i);

    f.receiveMsgFormat = f.sendMsgFormat = HexFormat;
    f.receiveEncoding = QStringLiteral("GBK");
    f.sendEncoding = QStringLiteral("Shift-JIS");
    f.splitterLeft = 123 + i;
    f.splitterRight = 456 + i;
    f.rxAutoFeedLine = f.displaySendMsg = f.displayMsgTime = f.autoSend = f.supportComment = true;
    f.formatSend = f.sendEscapes = f.localEcho = f.logSaveFlag = f.logPromptForName = true;
    f.logStartOnConnect = f.logTimestampEnabled = f.formatDisplayColor = true;
    f.logAppend = f.showControlLineLeds = false;
    f.rxLineEndingMode = LineEndingLFCR;
    f.autoFeedInterval = 75;
    f.rxTimeFormat = QStringLiteral("<%1 hh:mm> ").arg(i);
    f.txTimeFormat = QStringLiteral(">> ");
    f.sendInterval = 250;
    f.sendTimeUnit = 1000;
    f.sendChecksum = 4;
    f.txLineEndingMode = LineEndingCRLF;
    f.terminalEnterMode = LineEndingLF;
    f.logFilePath = QStringLiteral("/tmp/日志/%S-%1.log").arg(i);
    f.logFileTime = QStringLiteral("{%h}");
    f.displayBufferSize = 2097152;
    f.logFont = {QStringLiteral("DejaVu Sans Mono"), 15, 700, true};
    f.sendTextColor = QStringLiteral("#1a2b3c");
    f.receiveTextColor = QStringLiteral("#ff00%1").arg(10 + i);
    f.logRotateAtSize = f.needHourTimeStamp = false;
    f.logRotateAtTime = true;
    f.logRotateSize = 5242880;
    f.logRotateTime = QTime(23, 59, 58, 250);
}

// QSettings serves every object on a path from one cache, with the values' original
// types. A copy under a new name is parsed from disk.
inline QString reparsedCopy(const QString &path)
{
    static int copies = 0;
    const QString copy = path + QStringLiteral(".copy%1").arg(++copies);
    QFile::copy(path, copy);
    return copy;
}

inline QString writeFile(const QTemporaryDir &dir, const QByteArray &text)
{
    static int files = 0;
    const QString path = dir.filePath(QStringLiteral("hand%1.ini").arg(++files));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(text);
    }
    return path;
}

// A stored value as text, lists joined with "|".
inline QString storedText(const QSettings &settings, const QString &key)
{
    const QVariant value = settings.value(key);
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join('|')
                                                    : value.toString();
}
