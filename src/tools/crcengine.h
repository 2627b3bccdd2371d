#pragma once

// The two ways a CRC is computed here. `bitwise` is the definition itself: each input
// byte enters the register, which is then shifted one bit at a time. `tableDriven`
// yields the same values from tables derived from that definition, eight input bytes
// per step, which is several times faster on anything but a few bytes.
//
// The program asks CrcCatalog::calculateCustom, which picks one by input length. This
// class stands on its own only so that the tables can be checked against the
// definition over any parameters.

#include "tools/crccatalog.h"

class CrcEngine
{
public:
    // Both mask the polynomial, initial value and final XOR to the width, and give 0
    // for a width outside 1..64.
    static quint64 bitwise(QByteArrayView bytes, const CrcCatalog::CustomParameters &parameters);
    // The tables of the last few parameter sets are kept per thread, so repeated calls
    // with the same width, polynomial and input reflection build them once.
    static quint64 tableDriven(QByteArrayView bytes,
                               const CrcCatalog::CustomParameters &parameters);
};
