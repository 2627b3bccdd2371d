#pragma once

// A throwaway PostgreSQL cluster made with Debian's tools in a temporary folder,
// listening on a free loopback port, trusted for the user "velmora", removed when
// the object goes. As root the tools run as the "postgres" user, since initdb refuses
// to run as root.

#include <QString>
#include <QTemporaryDir>

class PgCluster
{
public:
    PgCluster();
    ~PgCluster();
    PgCluster(const PgCluster &) = delete;
    PgCluster &operator=(const PgCluster &) = delete;

    // Creates and starts the cluster; false with `why` set when it cannot.
    bool start(QString *why);
    // Creates an empty database and gives its address for --database.
    QString createDatabase(const QString &name, QString *why);
    QString url(const QString &database) const;

private:
    bool run(const QString &tool, const QStringList &arguments, QString *output);

    QTemporaryDir dir;
    QString binDir;
    quint16 port = 0;
    bool running = false;
};
