// velmora-cloud: serves accounts, devices and settings sync to the Velmora app.

#include "cloudserver.h"
#include "serveroptions.h"

#include <QCoreApplication>

#include <cstdio>
#include <sys/stat.h>

int main(int argc, char **argv)
{
    // Everything the server writes (store, mails) is for its own user only.
    umask(077);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora-cloud"));
    qSetMessagePattern(QStringLiteral("%{time yyyy-MM-ddTHH:mm:ss.zzz} %{if-warning}warning: "
                                      "%{endif}%{if-critical}error: %{endif}%{message}"));

    ServerOptions options;
    QString error;
    switch (ServerOptions::parse(QCoreApplication::arguments(), &options, &error)) {
    case ServerOptions::Parsed::Exit: return 0;
    case ServerOptions::Parsed::Error:
        std::fprintf(stderr, "velmora-cloud: %s\nTry velmora-cloud --help.\n", qPrintable(error));
        return 2;
    case ServerOptions::Parsed::Run: break;
    }

    CloudServer server(options);
    if (!server.start(&error)) {
        std::fprintf(stderr, "velmora-cloud: %s\n", qPrintable(error));
        return 1;
    }
    const QString host = options.listenAddress.protocol() == QAbstractSocket::IPv6Protocol
                             ? u'[' + options.listenAddress.toString() + u']'
                             : options.listenAddress.toString();
    // Scripts and tests read the port from this line when they asked for port 0.
    std::printf("velmora-cloud listening on http://%s:%u\n", qPrintable(host), server.port());
    std::fflush(stdout);
    return app.exec();
}
