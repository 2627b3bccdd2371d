#pragma once

// Frame templates and a port's decoder choice in a project file. The library lives under
// the caller's prefix, then "FrameTemplates"; a choice under its own prefix ("%1/Decode"
// of a port). Reading is forgiving: absent or malformed values take their defaults and
// numbers are clamped, never refused; a template that breaks a rule after loading stays
// as it was read, and validate() tells what is wrong with it.

#include "decode/frametemplate.h"

class QSettings;

class FrameTemplateCodec
{
    Q_DECLARE_TR_FUNCTIONS(FrameTemplateCodec)

public:
    static constexpr int MaxTemplates = 256;

    // Replaces the whole group with `list`.
    static void save(QSettings &settings, const QString &prefix, const QList<FrameTemplate> &list);
    static QList<FrameTemplate> load(const QSettings &settings, const QString &prefix);
    static bool contains(const QSettings &settings, const QString &prefix);

    static void saveChoice(QSettings &settings, const QString &prefix, const DecoderChoice &choice);
    static DecoderChoice loadChoice(const QSettings &settings, const QString &prefix);
    // The choice, or no decoder when it names a template that is not in `templates`.
    static DecoderChoice withKnownTemplate(const DecoderChoice &choice,
                                           const QList<FrameTemplate> &templates);

    // Where a project file keeps its library: "FrameTemplateLibrary/".
    static QString projectPrefix();
    // The template called `name` (compared after trimming), or null.
    static const FrameTemplate *find(const QList<FrameTemplate> &templates, const QString &name);
    // The template called `name` in the library of the project file at `path`, ready to
    // decode. False with a sentence in `error` when the file cannot be read, holds no such
    // template (the sentence lists those it has) or the template fails validate().
    static bool loadFromProject(const QString &path, const QString &name, FrameTemplate *found,
                                QString *error);
};
