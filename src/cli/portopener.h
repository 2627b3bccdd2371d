#pragma once

// The connection of a command: a URL, or a port of a project (--project FILE --port N),
// which also brings that port's format, auto reply rules and the project's command and
// script libraries. Opens a PortSession on it and waits until a TCP client is connected,
// so that a command starts on a working connection or ends with exit code 3.

#include "automation/autoreplyengine.h"
#include "automation/commandlibrary.h"
#include "scripting/scriptlibrary.h"

#include <QCommandLineOption>
#include <QObject>

class AccountSession;
class CliOutput;
struct FormatSetting;
struct Settings;
class PortSession;
class QCommandLineParser;

class PortOpener : public QObject
{
    Q_OBJECT
public:
    explicit PortOpener(QObject *parent = nullptr);
    ~PortOpener() override;

    // Adds --project and --port, and the cloud options.
    static void addOptions(QCommandLineParser &parser);
    // The cloud account's options for relay:// URLs, and --guest-name for share:// ones.
    static void addCloudOptions(QCommandLineParser &parser);

    // Reads the project (when given) and the URL (when given; it overrides the project
    // port's connection). `projectRequired` refuses a run without --project. Returns a
    // CliCommand::ExitCode: ExitOk or ExitUsage after a sentence on `out`.
    int prepare(const QCommandLineParser &parser, const QString &url, bool projectRequired,
                CliOutput &out);
    // The connection of `url` alone, with the default format; cloud URLs need `parser`
    // with the cloud options.
    int prepareUrl(const QString &url, CliOutput &out,
                   const QCommandLineParser *parser = nullptr);
    // Opens the session: ExitOk, ExitConnection with the transport's reason, or
    // ExitInterrupted.
    int open(CliOutput &out);

    PortSession *session() const { return portSession; }
    const AutoReplyConfig &autoReply() const { return rules; }
    const CommandLibrary &commands() const { return library; }
    const ScriptLibrary &scripts() const { return scriptLibrary; }
    bool hasProject() const { return !projectPath.isEmpty(); }

signals:
    // The open connection went away (device lost, peer closed); `reason` says which.
    void lost(const QString &reason);

private:
    int apply(const Settings &given, const FormatSetting &givenFormat, const QString &url,
              const QCommandLineParser *parser, CliOutput &out);

    PortSession *portSession = nullptr;
    QString projectPath;
    AutoReplyConfig rules;
    CommandLibrary library;
    ScriptLibrary scriptLibrary;
    const QCommandLineParser *cloudParser = nullptr;
    AccountSession *account = nullptr; // for a relay:// or share:// connection
};
