// Parses random text as a connection URL and checks that a refusal leaves the record
// untouched with a reason, and that an accepted URL gives a record in range.

#include "connection/connectionurl.h"

#include <cstdio>
#include <cstdlib>

namespace {
void check(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: %s\n", what);
        std::abort();
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const Settings base;
    Settings parsed = base;
    QString error;
    if (!ConnectionUrl::parse(text, base, &parsed, &error)) {
        check(parsed == base, "a refused URL changed the record");
        check(!error.isEmpty(), "a refusal without a reason");
        return 0;
    }
    check(error.isEmpty(), "an accepted URL with a reason");
    check(parsed.targetPort >= 0 && parsed.targetPort <= 65535, "target port out of range");
    check(parsed.connMode != ModeSerial || !parsed.name.isEmpty(), "a serial port without a name");
    check(parsed.connMode != ModeLiveRelay ||
              ((!parsed.relayCid.isEmpty() || !parsed.relayTargetName.isEmpty()) &&
               !parsed.relayPortKey.isEmpty()),
          "a relay port without a computer or a port key");
    check(parsed.dataBits >= 5 && parsed.dataBits <= 8, "data bits out of range");
    check(parsed.baudRate > 0, "baud rate not positive");
    return 0;
}
