#include "pgcluster.h"

#include <QDir>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTcpServer>
#include <QUuid>

#include <pwd.h>
#include <unistd.h>

namespace {

QString newestBinDir()
{
    const QDir root(QStringLiteral("/usr/lib/postgresql"));
    QStringList versions = root.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    std::sort(versions.begin(), versions.end(),
              [](const QString &a, const QString &b) { return a.toInt() > b.toInt(); });
    for (const QString &version : versions) {
        const QString bin = root.filePath(version + QStringLiteral("/bin"));
        if (QFile::exists(bin + QStringLiteral("/initdb")))
            return bin;
    }
    return {};
}

quint16 freePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

} // namespace

PgCluster::PgCluster()
    : binDir(newestBinDir())
{
}

PgCluster::~PgCluster()
{
    if (running) {
        QString ignored;
        run(QStringLiteral("pg_ctl"),
            {QStringLiteral("-D"), dir.filePath(QStringLiteral("data")), QStringLiteral("-m"),
             QStringLiteral("immediate"), QStringLiteral("-w"), QStringLiteral("stop")},
            &ignored);
    }
}

bool PgCluster::run(const QString &tool, const QStringList &arguments, QString *output)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    const QString program = binDir + u'/' + tool;
    if (geteuid() == 0)
        process.start(QStringLiteral("runuser"),
                      QStringList{QStringLiteral("-u"), QStringLiteral("postgres"),
                                  QStringLiteral("--"), program}
                          + arguments);
    else
        process.start(program, arguments);
    const bool finished = process.waitForFinished(120000);
    *output = QString::fromLocal8Bit(process.readAll()).trimmed();
    return finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool PgCluster::start(QString *why)
{
    if (binDir.isEmpty()) {
        *why = QStringLiteral("PostgreSQL's server tools are not installed (package postgresql)");
        return false;
    }
    if (!dir.isValid()) {
        *why = QStringLiteral("no temporary folder");
        return false;
    }
    if (geteuid() == 0) {
        const passwd *postgres = getpwnam("postgres");
        if (!postgres || chown(QFile::encodeName(dir.path()).constData(), postgres->pw_uid,
                               postgres->pw_gid) != 0) {
            *why = QStringLiteral("running as root, and there is no \"postgres\" user to run "
                                  "initdb as");
            return false;
        }
    }
    const QString data = dir.filePath(QStringLiteral("data"));
    QString output;
    if (!run(QStringLiteral("initdb"),
             {QStringLiteral("-D"), data, QStringLiteral("-U"), QStringLiteral("velmora"),
              QStringLiteral("-A"), QStringLiteral("trust"), QStringLiteral("-E"),
              QStringLiteral("UTF8"), QStringLiteral("--locale=C"), QStringLiteral("--no-sync")},
             &output)) {
        *why = QStringLiteral("initdb failed: ") + output.right(400);
        return false;
    }
    // Another test may take the port between the probe and the start: try again.
    for (int attempt = 0; attempt < 3 && !running; ++attempt) {
        port = freePort();
        const QString options = QStringLiteral("-p %1 -k %2 -c listen_addresses=127.0.0.1 "
                                               "-c fsync=off -c max_connections=40")
                                    .arg(port)
                                    .arg(dir.path());
        running = run(QStringLiteral("pg_ctl"),
                      {QStringLiteral("-D"), data, QStringLiteral("-l"),
                       dir.filePath(QStringLiteral("log")), QStringLiteral("-o"), options,
                       QStringLiteral("-w"), QStringLiteral("-t"), QStringLiteral("60"),
                       QStringLiteral("start")},
                      &output);
    }
    if (!running)
        *why = QStringLiteral("pg_ctl start failed: ") + output.right(400);
    return running;
}

QString PgCluster::url(const QString &database) const
{
    return QStringLiteral("postgresql://velmora@127.0.0.1:%1/%2").arg(port).arg(database);
}

QString PgCluster::createDatabase(const QString &name, QString *why)
{
    const QString connection = QUuid::createUuid().toString();
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
        db.setHostName(QStringLiteral("127.0.0.1"));
        db.setPort(port);
        db.setUserName(QStringLiteral("velmora"));
        db.setDatabaseName(QStringLiteral("postgres"));
        ok = db.open();
        QSqlQuery query(db);
        ok = ok && query.exec(QStringLiteral("CREATE DATABASE \"%1\"").arg(name));
        if (!ok)
            *why = db.lastError().text() + query.lastError().text();
    }
    QSqlDatabase::removeDatabase(connection);
    return ok ? url(name) : QString();
}
