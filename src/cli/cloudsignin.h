#pragma once

// The cloud account of a command: --server BASE --login EMAIL --password-file F. Signs
// in before the command starts (consent is given by naming the server), so that Live
// Console hosting and Live Relay ports have a token to work with.

#include <QCoreApplication>
#include <QString>

class AccountSession;
class CliOutput;
class QCommandLineParser;

class CloudSignIn
{
    Q_DECLARE_TR_FUNCTIONS(CloudSignIn)

public:
    static constexpr int TimeoutMs = 15000;

    // Adds --server, --login and --password-file.
    static void addOptions(QCommandLineParser &parser);
    // Whether any of them was given.
    static bool requested(const QCommandLineParser &parser);
    // Checks that all three were given and the password file can be read; false after a
    // sentence on `out`.
    static bool check(const QCommandLineParser &parser, CliOutput &out);
    // Signs in as the computer `deviceName` (its id made from this machine's and that
    // name); the session, owned by `parent`, or null after a sentence on `out`.
    static AccountSession *signIn(const QCommandLineParser &parser, const QString &deviceName,
                                  QObject *parent, CliOutput &out);
    // A session that is not signed in, for a guest who comes in by an invite code alone.
    static AccountSession *guest(const QCommandLineParser &parser, QObject *parent);
    // This machine's device id for `deviceName`: stable across runs, and distinct per
    // name, so that a host and a client on one machine are two computers to the cloud.
    static QString cidFor(const QString &deviceName);
};
