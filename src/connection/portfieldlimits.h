#pragma once

// The limits of the port record fields that stored values are held to when read back:
// ranges of quantities and the sets of values that enumerated fields can take.

#include "connection/settings.h"

#include <QList>

#include <limits>

namespace PortFieldLimits {
inline constexpr qint32 IntMin = std::numeric_limits<qint32>::min();
inline constexpr qint32 IntMax = std::numeric_limits<qint32>::max();
// The free entry of the baud rate box.
inline constexpr qint32 MaxBaudRate = 100000000;
inline constexpr qint32 MaxNetworkPort = 65535;
inline constexpr qint32 MaxFontPointSize = 1000;
// QFont weights run from 1 to 1000.
inline constexpr qint32 MaxFontWeight = 1000;

inline const QList<qint32> DataBits = {5, 6, 7, 8};
inline const QList<qint32> Parity = {0, 2, 3, 4, 5};
inline const QList<qint32> StopBits = {1, 2, 3};
inline const QList<qint32> FlowControl = {0, 1, 2};
inline const QList<qint32> LineEnding = {LineEndingNone, LineEndingCR, LineEndingLF, LineEndingCRLF,
                                         LineEndingLFCR};
// None and the five send-path checksums.
inline const QList<qint32> SendChecksum = {0, 1, 2, 3, 4, 5};

// Joins the remembered hosts in one stored string.
inline const QString HostSeparator = QStringLiteral("-||-");
} // namespace PortFieldLimits
