// The README of a diagnostic pack: English, then the same in Chinese, since support and
// the user may read either, whatever language the program is shown in.

#include "recording/diagnosticpack.h"

namespace {

// The Chinese titles of the option boxes, in the order of DiagnosticPack::optionIds().
const char *const chineseOptionTitles[] = {
    "本次会话收发的数据（包括您发送的全部内容）",
    "工程设置（端口、布局和桥接；不含名称和路径）",
    "命令库、序列、自动应答规则和帧模板",
    "发送历史（可能包含您输入的密码）",
    "桥接抓包（每个最后 1 MB）",
    "序列报告",
};

struct Texts
{
    const char *whatIsInside;
    const char *notIncluded; // %1: the box's title
    const char *dataLimits;
    const char *dropped; // %1: port, %2: count
    const char *noneDropped;
    const char *noTraffic;
    const char *tooLarge; // %1: file name
    const char *neverInside;
    const char *never;
    const char *openHint;
};

const Texts english = {
    "What is inside\n",
    "  (not included: you left \"%1\" unchecked)\n",
    "Data limits\n",
    "%1: %2 older records had already been dropped by VLM's session record.\n",
    "None: every port's whole session record is included.\n",
    "Data sent and received was not included.\n",
    "%1: left out, the recording is larger than 32 MB.\n",
    "Never inside\n",
    "  No account data (user id, email, name, tokens).\n"
    "  No machine ID, MAC address or CPU ID.\n"
    "  No user name or computer name: they are replaced by \"[redacted]\" wherever they\n"
    "  appear, and home folders are shown as \"~\".\n"
    "  Serial port names are kept, because support needs them. On macOS the name of a USB\n"
    "  adapter can include its serial number, and the name of a Bluetooth serial port the\n"
    "  name of the device.\n",
    "Open session.jsonl with any text editor; every line is one JSON record.\n",
};

const Texts chinese = {
    "包含内容\n",
    "  （未包含：您未勾选“%1”）\n",
    "数据限制\n",
    "%1：VLM 的会话记录此前已丢弃 %2 条较早的记录。\n",
    "无：每个端口的完整会话记录均已包含。\n",
    "未包含收发的数据。\n",
    "%1：未包含，该录制文件大于 32 MB。\n",
    "绝不包含\n",
    "  不含账户数据（用户 ID、电子邮件、名称、令牌）。\n"
    "  不含机器 ID、MAC 地址或 CPU ID。\n"
    "  不含用户名或计算机名：它们出现在任何位置都会被替换为“[redacted]”，\n"
    "  主文件夹显示为“~”。\n"
    "  串口名称会保留，因为技术支持需要它们。在 macOS 上，USB 转接器的名称可能包含其序列号，\n"
    "  蓝牙串口的名称可能包含设备的名称。\n",
    "可用任意文本编辑器打开 session.jsonl；每一行是一条 JSON 记录。\n",
};

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

QString section(const Texts &t, const DiagnosticPack::Input &input, const QStringList &paths,
                const QStringList &omissions, const QStringList &leftOut, bool inChinese)
{
    QString out;
    out += text(t.whatIsInside);
    for (const QString &path : paths) {
        out += QStringLiteral("  ") + path + u'\n';
    }
    const QStringList ids = DiagnosticPack::optionIds();
    for (const QString &id : omissions) {
        const qsizetype i = ids.indexOf(id);
        const QString title = inChinese && i >= 0 ? text(chineseOptionTitles[i])
                                                  : DiagnosticPack::optionTitle(id, false);
        out += text(t.notIncluded).arg(title);
    }
    out += u'\n' + text(t.dataLimits);
    if (!input.options.traffic) {
        out += text(t.noTraffic);
    } else {
        bool any = false;
        for (const DiagnosticPack::PortSnapshot &p : input.ports) {
            if (p.record.evictedEvents > 0) {
                out += text(t.dropped).arg(p.label.isEmpty() ? p.id : p.label)
                           .arg(p.record.evictedEvents);
                any = true;
            }
        }
        if (!any) {
            out += text(t.noneDropped);
        }
        for (const QString &name : leftOut) {
            out += text(t.tooLarge).arg(name);
        }
    }
    out += u'\n' + text(t.neverInside) + text(t.never) + u'\n' + text(t.openHint);
    return out;
}

} // namespace

QByteArray DiagnosticPack::readme(const Input &input, const QStringList &paths,
                                  const QStringList &omissions, const QStringList &leftOut)
{
    const QString when = input.when.toUTC().toString(Qt::ISODate);
    const QString version = input.appVersion.isEmpty() ? QStringLiteral("?") : input.appVersion;
    const QString build = input.appBuild.isEmpty() ? QStringLiteral("?") : input.appBuild;
    QString out = QStringLiteral("Velmora diagnostic pack\n");
    out += QStringLiteral("Created %1 by Velmora %2 (%3)\n\n").arg(when, version, build);
    out += section(english, input, paths, omissions, leftOut, false);
    out += QStringLiteral("\n----\n");
    out += QStringLiteral("Velmora 诊断包\n");
    out += QStringLiteral("由 Velmora %2（%3）创建于 %1\n\n").arg(when, version, build);
    out += section(chinese, input, paths, omissions, leftOut, true);
    return out.toUtf8();
}
