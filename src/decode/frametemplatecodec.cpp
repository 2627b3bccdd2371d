#include "decode/frametemplatecodec.h"

#include "decode/frametemplatetext.h"
#include "tools/crccatalog.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include <cmath>

namespace {

const QString TemplatesGroup = QStringLiteral("FrameTemplates");

QString join(const QString &prefix, const QString &key)
{
    if (prefix.isEmpty() || prefix.endsWith(u'/')) {
        return prefix + key;
    }
    return prefix + u'/' + key;
}

// A stored value as text: an ini value with commas comes back as a list.
QString textOf(const QVariant &value)
{
    if (value.typeId() == QMetaType::QStringList) {
        return value.toStringList().join(QStringLiteral(", "));
    }
    return value.toString();
}

// The reads of a forgiving loader: absent or unreadable gives the default, numbers are
// clamped into their range.
class Reader
{
public:
    Reader(const QSettings &settings, QString group)
        : s(settings)
        , group(std::move(group))
    {}

    QVariant value(const QString &key) const { return s.value(join(group, key)); }

    int readInt(const QString &key, int fallback, int low, int high) const
    {
        const QVariant v = value(key);
        if (!v.isValid()) {
            return fallback;
        }
        const QString text = textOf(v).trimmed();
        bool ok = false;
        const qint64 whole = text.toLongLong(&ok);
        if (ok) {
            return int(std::clamp<qint64>(whole, low, high));
        }
        const double number = text.toDouble(&ok);
        if (!ok || std::isnan(number)) {
            return fallback;
        }
        return int(std::clamp<double>(number, low, high));
    }

    template<typename E> E readEnum(const QString &key, E fallback, int high) const
    {
        return E(readInt(key, int(fallback), 0, high));
    }

    double readDouble(const QString &key, double fallback) const
    {
        bool ok = false;
        const double number = textOf(value(key)).trimmed().toDouble(&ok);
        return ok && std::isfinite(number) ? number : fallback;
    }

    bool readBool(const QString &key, bool fallback) const
    {
        const QString text = textOf(value(key)).trimmed().toLower();
        if (text == QLatin1String("true") || text == QLatin1String("1")) {
            return true;
        }
        if (text == QLatin1String("false") || text == QLatin1String("0")) {
            return false;
        }
        return fallback;
    }

    QString readString(const QString &key) const
    {
        const QVariant v = value(key);
        return v.isValid() ? textOf(v) : QString();
    }

    quint64 readHex(const QString &key, quint64 fallback) const
    {
        bool ok = false;
        const quint64 number = readString(key).trimmed().toULongLong(&ok, 16);
        return ok ? number : fallback;
    }

    // Hex bytes with blanks; anything unreadable gives none; at most 16 bytes.
    QByteArray readBytes(const QString &key) const
    {
        QString text = readString(key);
        text.remove(u' ');
        return QByteArray::fromHex(text.toLatin1()).left(FrameTemplate::MaxMarkerBytes);
    }

private:
    const QSettings &s;
    QString group;
};

QString hexWord(quint64 value)
{
    return QString::number(value, 16).toUpper();
}

void saveTemplate(QSettings &s, const QString &g, const FrameTemplate &t)
{
    const auto set = [&](const char *key, const QVariant &value) {
        s.setValue(join(g, QString::fromLatin1(key)), value);
    };
    set("Name", t.name);
    set("Framing", int(t.framing));
    set("Header", FrameTemplateText::formatHex(t.header));
    set("LengthOffset", t.lengthOffset);
    set("LengthWidth", t.lengthWidth);
    set("LengthEndian", int(t.lengthEndian));
    set("LengthScope", int(t.lengthScope));
    set("LengthAdjust", t.lengthAdjust);
    set("FixedLength", t.fixedLength);
    set("Delimiter", FrameTemplateText::formatHex(t.delimiter));
    set("IdleGapMs", t.idleGapMs);
    set("Trailer", FrameTemplateText::formatHex(t.trailer));
    set("MaxFrameBytes", t.maxFrameBytes);
    set("FrameTimeoutMs", t.frameTimeoutMs);
    set("Checksum", int(t.checksum.kind));
    // By name, so that the catalogue may be reordered.
    const CrcCatalog::Definition *entry =
        t.checksum.crc >= 0 ? CrcCatalog::definition(CrcCatalog::Algorithm(t.checksum.crc))
                            : nullptr;
    set("ChecksumCrc", entry ? entry->name : QString());
    set("ChecksumCustom/Width", t.checksum.width);
    set("ChecksumCustom/Poly", hexWord(t.checksum.poly));
    set("ChecksumCustom/Init", hexWord(t.checksum.init));
    set("ChecksumCustom/XorOut", hexWord(t.checksum.xorOut));
    set("ChecksumCustom/RefIn", t.checksum.refIn);
    set("ChecksumCustom/RefOut", t.checksum.refOut);
    set("ChecksumStart", t.checksumStart);
    set("ChecksumOrder", int(t.checksumOrder));
    const int count = int(std::min<qsizetype>(t.fields.size(), FrameTemplate::MaxFields));
    set("Fields/Count", count);
    for (int i = 0; i < count; ++i) {
        const FieldSpec &f = t.fields.at(i);
        const QString fg = QStringLiteral("%1/Fields/%2/").arg(g).arg(i);
        s.setValue(fg + QLatin1String("Name"), f.name);
        s.setValue(fg + QLatin1String("Offset"), f.offset);
        s.setValue(fg + QLatin1String("Type"), int(f.type));
        s.setValue(fg + QLatin1String("Length"), f.length);
        s.setValue(fg + QLatin1String("BitStart"), f.bitStart);
        s.setValue(fg + QLatin1String("BitCount"), f.bitCount);
        s.setValue(fg + QLatin1String("Endian"), int(f.endian));
        s.setValue(fg + QLatin1String("Scale"), f.scale);
        s.setValue(fg + QLatin1String("Addend"), f.addend);
        s.setValue(fg + QLatin1String("Decimals"), f.decimals);
        s.setValue(fg + QLatin1String("Unit"), f.unit);
        s.setValue(fg + QLatin1String("Labels"), f.labels);
        s.setValue(fg + QLatin1String("WhenOffset"), f.whenOffset);
        s.setValue(fg + QLatin1String("WhenValue"), int(f.whenValue));
    }
}

FrameTemplate loadTemplate(const QSettings &s, const QString &g)
{
    const Reader r(s, g);
    const FrameTemplate d;
    FrameTemplate t;
    t.name = r.readString(QStringLiteral("Name"));
    t.framing = r.readEnum(QStringLiteral("Framing"), d.framing, FrameTemplate::IdleGap);
    t.header = r.readBytes(QStringLiteral("Header"));
    t.lengthOffset = r.readInt(QStringLiteral("LengthOffset"), d.lengthOffset, 0, 4096);
    t.lengthWidth = r.readInt(QStringLiteral("LengthWidth"), d.lengthWidth, 1, 4);
    t.lengthEndian = r.readEnum(QStringLiteral("LengthEndian"), d.lengthEndian, 3);
    t.lengthScope = r.readEnum(QStringLiteral("LengthScope"), d.lengthScope,
                               FrameTemplate::AfterFieldToChecksum);
    t.lengthAdjust = r.readInt(QStringLiteral("LengthAdjust"), d.lengthAdjust, -64, 64);
    t.fixedLength = r.readInt(QStringLiteral("FixedLength"), d.fixedLength, 1, 4096);
    t.delimiter = r.value(QStringLiteral("Delimiter")).isValid()
                      ? r.readBytes(QStringLiteral("Delimiter"))
                      : d.delimiter;
    t.idleGapMs = r.readInt(QStringLiteral("IdleGapMs"), d.idleGapMs, 1, 60000);
    t.trailer = r.readBytes(QStringLiteral("Trailer"));
    t.maxFrameBytes = r.readInt(QStringLiteral("MaxFrameBytes"), d.maxFrameBytes, 4, 4096);
    t.frameTimeoutMs = r.readInt(QStringLiteral("FrameTimeoutMs"), d.frameTimeoutMs, 5, 10000);
    t.checksum.kind = r.readEnum(QStringLiteral("Checksum"), d.checksum.kind, ChecksumSpec::Crc);
    const QString crcName = r.readString(QStringLiteral("ChecksumCrc")).trimmed();
    const QList<CrcCatalog::Definition> &catalogue = CrcCatalog::definitions();
    for (int i = 0; i < catalogue.size(); ++i) {
        if (catalogue.at(i).name == crcName) {
            t.checksum.crc = i;
        }
    }
    t.checksum.width = r.readInt(QStringLiteral("ChecksumCustom/Width"), d.checksum.width, 1, 64);
    t.checksum.poly = r.readHex(QStringLiteral("ChecksumCustom/Poly"), d.checksum.poly);
    t.checksum.init = r.readHex(QStringLiteral("ChecksumCustom/Init"), d.checksum.init);
    t.checksum.xorOut = r.readHex(QStringLiteral("ChecksumCustom/XorOut"), d.checksum.xorOut);
    t.checksum.refIn = r.readBool(QStringLiteral("ChecksumCustom/RefIn"), d.checksum.refIn);
    t.checksum.refOut = r.readBool(QStringLiteral("ChecksumCustom/RefOut"), d.checksum.refOut);
    t.checksumStart = r.readInt(QStringLiteral("ChecksumStart"), d.checksumStart, 0, 4096);
    t.checksumOrder = r.readEnum(QStringLiteral("ChecksumOrder"), d.checksumOrder, 3);
    const int count = r.readInt(QStringLiteral("Fields/Count"), 0, 0, FrameTemplate::MaxFields);
    t.fields.reserve(count);
    for (int i = 0; i < count; ++i) {
        const Reader f(s, QStringLiteral("%1/Fields/%2").arg(g).arg(i));
        const FieldSpec e;
        FieldSpec field;
        field.name = f.readString(QStringLiteral("Name"));
        field.offset = f.readInt(QStringLiteral("Offset"), e.offset, 0, 4096);
        field.type = f.readEnum(QStringLiteral("Type"), e.type, int(FieldType::Bits));
        field.length = f.readInt(QStringLiteral("Length"), e.length, 0, 4096);
        field.bitStart = f.readInt(QStringLiteral("BitStart"), e.bitStart, 0, 63);
        field.bitCount = f.readInt(QStringLiteral("BitCount"), e.bitCount, 1, 64);
        field.endian = f.readEnum(QStringLiteral("Endian"), e.endian, 3);
        field.scale = f.readDouble(QStringLiteral("Scale"), e.scale);
        field.addend = f.readDouble(QStringLiteral("Addend"), e.addend);
        field.decimals = f.readInt(QStringLiteral("Decimals"), e.decimals, -1, 15);
        field.unit = f.readString(QStringLiteral("Unit"));
        field.labels = f.readString(QStringLiteral("Labels"));
        field.whenOffset = f.readInt(QStringLiteral("WhenOffset"), e.whenOffset, -1, 4096);
        field.whenValue = quint8(f.readInt(QStringLiteral("WhenValue"), e.whenValue, 0, 255));
        t.fields.append(field);
    }
    return t;
}

} // namespace

void FrameTemplateCodec::save(QSettings &settings, const QString &prefix,
                              const QList<FrameTemplate> &list)
{
    const QString group = join(prefix, TemplatesGroup);
    settings.remove(group);
    const int count = int(std::min<qsizetype>(list.size(), MaxTemplates));
    settings.setValue(group + QLatin1String("/Format"), 1);
    settings.setValue(group + QLatin1String("/Count"), count);
    for (int i = 0; i < count; ++i) {
        saveTemplate(settings, QStringLiteral("%1/%2").arg(group).arg(i), list.at(i));
    }
}

QList<FrameTemplate> FrameTemplateCodec::load(const QSettings &settings, const QString &prefix)
{
    const QString group = join(prefix, TemplatesGroup);
    const int count = Reader(settings, group).readInt(QStringLiteral("Count"), 0, 0, MaxTemplates);
    QList<FrameTemplate> list;
    list.reserve(count);
    for (int i = 0; i < count; ++i) {
        list.append(loadTemplate(settings, QStringLiteral("%1/%2").arg(group).arg(i)));
    }
    return list;
}

bool FrameTemplateCodec::contains(const QSettings &settings, const QString &prefix)
{
    return settings.contains(join(prefix, TemplatesGroup) + QLatin1String("/Count"));
}

void FrameTemplateCodec::saveChoice(QSettings &settings, const QString &prefix,
                                    const DecoderChoice &choice)
{
    settings.setValue(join(prefix, QStringLiteral("Kind")), int(choice.kind));
    settings.setValue(join(prefix, QStringLiteral("Template")), choice.templateName);
    settings.setValue(join(prefix, QStringLiteral("PanelVisible")), choice.panelVisible);
}

DecoderChoice FrameTemplateCodec::loadChoice(const QSettings &settings, const QString &prefix)
{
    const Reader r(settings, prefix);
    DecoderChoice choice;
    choice.kind = r.readEnum(QStringLiteral("Kind"), choice.kind, DecoderChoice::Template);
    choice.templateName = r.readString(QStringLiteral("Template"));
    choice.panelVisible = r.readBool(QStringLiteral("PanelVisible"), false);
    return choice;
}

DecoderChoice FrameTemplateCodec::withKnownTemplate(const DecoderChoice &choice,
                                                    const QList<FrameTemplate> &templates)
{
    if (choice.kind != DecoderChoice::Template || find(templates, choice.templateName)) {
        return choice;
    }
    DecoderChoice none = choice;
    none.kind = DecoderChoice::None;
    none.templateName.clear();
    return none;
}

QString FrameTemplateCodec::projectPrefix()
{
    return QStringLiteral("FrameTemplateLibrary/");
}

const FrameTemplate *FrameTemplateCodec::find(const QList<FrameTemplate> &templates,
                                              const QString &name)
{
    const QString wanted = name.trimmed();
    for (const FrameTemplate &t : templates) {
        if (t.name.trimmed() == wanted) {
            return &t;
        }
    }
    return nullptr;
}

bool FrameTemplateCodec::loadFromProject(const QString &path, const QString &name,
                                         FrameTemplate *found, QString *error)
{
    const QString shown = QDir::toNativeSeparators(path);
    const auto fail = [error](const QString &text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (!QFileInfo(path).isFile()) {
        return fail(tr("The project file %1 does not exist.").arg(shown));
    }
    const QSettings settings(path, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError) {
        return fail(tr("The project file %1 could not be read.").arg(shown));
    }
    const QList<FrameTemplate> templates = load(settings, projectPrefix());
    const FrameTemplate *match = find(templates, name);
    if (!match) {
        QStringList names;
        for (const FrameTemplate &t : templates) {
            names.append(QLatin1Char('"') + t.name.trimmed() + QLatin1Char('"'));
        }
        const QString known =
            names.isEmpty() ? tr("It has no frame templates.")
                            : tr("Its frame templates: %1.").arg(names.join(QStringLiteral(", ")));
        return fail(tr("There is no frame template called \"%1\" in %2. %3")
                        .arg(name.trimmed(), shown, known));
    }
    QString why;
    if (!match->validate(&why)) {
        return fail(
            tr("The frame template \"%1\" cannot decode: %2").arg(match->name.trimmed(), why));
    }
    *found = *match;
    if (error) {
        error->clear();
    }
    return true;
}
