// Fuzzes PlotParser: text, labelled and regular-expression lines and JustFloat frames,
// with the input cut into chunks chosen by the fuzzer.
//
// For lines, the outcome must not depend on the cuts: the same rows (NaN where NaN),
// channels and counts whether the bytes come at once or in pieces. For every format:
// no row is longer than 32 values, there are at most 32 channels, the good count is the
// number of rows.

#include "plot/plotparser.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "invariant broken: plot parser: %s\n", what);
        std::abort();
    }
}

bool sameRows(const PlotParser::Rows &a, const PlotParser::Rows &b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a.at(i).size() != b.at(i).size()) {
            return false;
        }
        for (qsizetype k = 0; k < a.at(i).size(); ++k) {
            const double x = a.at(i).at(k);
            const double y = b.at(i).at(k);
            if (!(x == y || (std::isnan(x) && std::isnan(y)))) {
                return false;
            }
        }
    }
    return true;
}

void checkLimits(const PlotParser &parser, const PlotParser::Rows &rows)
{
    require(parser.channels().size() <= PlotParser::MaxChannels, "at most 32 channels");
    require(parser.goodCount() == rows.size(), "good count is the rows given");
    require(parser.badCount() >= 0, "bad count");
    for (const PlotParser::Row &row : rows) {
        require(!row.isEmpty() && row.size() <= PlotParser::MaxChannels, "row length");
        require(row.size() <= parser.channels().size(), "a row has its channels");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzedDataProvider input(data, size);
    static const char *const expressions[] = {
        "T=(\\S+) H=(\\S+)", "(?<volts>[-\\d.]+)V,?(\\d*)", "-?\\d+(?:\\.\\d+)?", "x*", "(a)|(b)",
        "(?<a>\\w+):(?<b>\\d+)", "(",
    };
    const auto format = PlotFormat(input.ConsumeIntegralInRange(0, 2));
    const QString regex = QString::fromLatin1(
        expressions[input.ConsumeIntegralInRange<size_t>(0, std::size(expressions) - 1)]);
    std::vector<size_t> cuts;
    const int pieces = input.ConsumeIntegralInRange(0, 12);
    for (int i = 0; i < pieces; ++i) {
        cuts.push_back(input.ConsumeIntegralInRange<size_t>(0, 5000));
    }
    const std::string rest = input.ConsumeRemainingBytesAsString();
    const QByteArray bytes(rest.data(), qsizetype(rest.size()));

    PlotParser whole;
    whole.setFormat(format);
    whole.setRegex(regex);
    PlotParser::Rows wholeRows;
    whole.feed(bytes, wholeRows);
    checkLimits(whole, wholeRows);

    PlotParser chunked;
    chunked.setFormat(format);
    chunked.setRegex(regex);
    PlotParser::Rows chunkedRows;
    qsizetype at = 0;
    for (const size_t cut : cuts) {
        const qsizetype length = std::min<qsizetype>(qsizetype(cut), bytes.size() - at);
        chunked.feed(bytes.mid(at, length), chunkedRows);
        at += length;
    }
    chunked.feed(bytes.mid(at), chunkedRows);
    checkLimits(chunked, chunkedRows);

    if (format != PlotFormat::JustFloat) {
        require(sameRows(wholeRows, chunkedRows), "rows do not depend on the cuts");
        require(whole.channels() == chunked.channels(), "channels do not depend on the cuts");
        require(whole.badCount() == chunked.badCount(), "bad count does not depend on the cuts");
    }
    // A reset keeps the channels; dropping them raises the generation.
    const QStringList channels = chunked.channels();
    chunked.reset();
    require(chunked.channels() == channels, "reset keeps channels");
    const int generation = chunked.generation();
    chunked.resetChannels();
    require(chunked.channels().isEmpty() && chunked.generation() > generation, "channels reset");
    return 0;
}
