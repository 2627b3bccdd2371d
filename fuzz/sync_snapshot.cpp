// Fuzzes what the cloud client reads from a server: the settings snapshot another
// computer uploaded (SyncService::applySnapshot) and the log redaction of reply bodies.
//
// A refused snapshot leaves the state as it was; a taken one leaves every number within
// its limits, and taking the state's own snapshot again changes nothing. Redacted text
// never keeps a token of the server's forms.

#include "cloud/cloudredactor.h"
#include "cloud/syncservice.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QJsonDocument>
#include <QRegularExpression>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: sync snapshot: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider provider(data, size);
    const bool asOurs = provider.ConsumeBool();
    const std::string rest = provider.ConsumeRemainingBytesAsString();
    const QByteArray bytes(rest.data(), qsizetype(rest.size()));

    QJsonObject payload = QJsonDocument::fromJson(bytes).object();
    if (asOurs) {
        // Reach past the schema check most of the time.
        payload.insert(QStringLiteral("schema"), SyncService::schemaName());
        payload.insert(QStringLiteral("version"), 1);
    }
    const SessionState before = SettingsService::defaults();
    SessionState state = before;
    int language = 0;
    if (!SyncService::applySnapshot(payload, &state, &language)) {
        require(state == before && language == 0, "a refused snapshot changed the state");
    } else {
        require(language >= 0 && language <= 2, "language out of range");
        require(state.settings.targetPort >= 0 && state.settings.targetPort <= 65535, "port");
        require(state.settings.baudRate >= 1, "baud rate");
        require(state.format.logFont.pointSize >= 1, "font size");
        require(!state.settings.targetHostList.isEmpty(), "empty host list");
        SessionState again = state;
        int languageAgain = language;
        require(SyncService::applySnapshot(SyncService::toSnapshot(state, QString(), language, true),
                                           &again, &languageAgain),
                "own snapshot refused");
        require(again == state && languageAgain == language, "own snapshot changed the state");
    }

    static const QRegularExpression token(QStringLiteral("\\bv[a-z]t_[A-Za-z0-9_\\-]+"));
    require(!CloudRedactor::text(bytes).contains(token), "a token survived redaction");
    return 0;
}
