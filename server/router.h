#pragma once

// Maps a method and a path to a handler. Patterns are written as paths whose
// "{name}" segments capture one segment into ApiRequest::params. An unknown path
// gets a 404 and a known path with another method a 405, both as JSON replies.

#include "apirequest.h"
#include "apireply.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class Router
{
public:
    // A handler answers exactly once, now or later, through `done`.
    using Done = std::function<void(ApiReply)>;
    using Handler = std::function<void(const ApiRequest &, Done)>;

    void add(const QString &method, const QString &pattern, Handler handler);
    // Finds the route, fills `request.params` and `*pattern` (for the log; "" when
    // none matched), and runs the handler, or answers the 404/405 itself.
    void dispatch(ApiRequest &request, const Done &done, QString *pattern) const;

private:
    struct Route
    {
        QString method;
        QString pattern;
        QStringList parts;
        Handler handler;
    };
    static bool matches(const Route &route, const QStringList &segments,
                        QHash<QString, QString> *params);

    QList<Route> routes;
};
