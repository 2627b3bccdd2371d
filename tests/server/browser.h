#pragma once

// One page of a headless Chromium, spoken to over its DevTools WebSocket: the browser
// side of the console page's tests, driven as a user would (fill fields, click, read
// what the page shows, take a picture of it).

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QProcess>
#include <QTemporaryDir>
#include <QWebSocket>

class Browser
{
public:
    Browser() = default;
    Browser(const Browser &) = delete;
    Browser &operator=(const Browser &) = delete;
    ~Browser();

    // The installed Chromium, or empty when there is none.
    static QString executable();

    // Starts Chromium with an empty profile and opens `url` in a new page; false with
    // the reason in `why` when Chromium or its DevTools socket does not come up.
    bool start(const QString &executable, const QString &url, QString *why);
    // Calls a DevTools `method` on the page and returns its result (empty after 20 s).
    QJsonObject call(const QString &method, const QJsonObject &params);
    // The value of the script `expression` in the page.
    QJsonValue eval(const QString &expression);
    bool waitUntil(const QString &expression, int timeoutMs = 20000);
    // The page as it looks now, as PNG bytes (empty when the capture failed).
    QByteArray screenshotPng();

private:
    QProcess process;
    QTemporaryDir profile;
    QWebSocket devtools;
    QString session;
    int lastId = 0;
    QHash<int, QJsonObject> replies;
};
