// Driver for fuzz targets in builds without libFuzzer: runs the target over the files
// and folders given on the command line, then over pseudo-random inputs for a while.
// This keeps every target building and exercised by the test suite; coverage-guided
// fuzzing uses the clang build (see README.md).
//
//   <target> [-seconds=N] [-seed=S] [file-or-folder...]

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

void runFile(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
}

std::uint64_t nextRandom(std::uint64_t &state)
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
}

} // namespace

int main(int argc, char **argv)
{
    double seconds = 2.0;
    std::uint64_t seed = 0x9e3779b97f4a7c15ULL;
    std::size_t files = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-seconds=", 9) == 0) {
            seconds = std::atof(argv[i] + 9);
        } else if (std::strncmp(argv[i], "-seed=", 6) == 0) {
            seed = std::strtoull(argv[i] + 6, nullptr, 0) | 1;
        } else if (std::filesystem::is_directory(argv[i])) {
            for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
                if (entry.is_regular_file()) {
                    runFile(entry.path());
                    ++files;
                }
            }
        } else {
            runFile(argv[i]);
            ++files;
        }
    }

    // Random inputs drawn mostly from a small alphabet of bytes that parsers care about,
    // so that structure appears often enough to matter.
    static const std::uint8_t interesting[] = {0x00, 0x07, 0x0a, 0x0d, 0x1b, 0x20, 0x2f, 0x30,
                                               0x31, 0x39, 0x3b, 0x3f, 0x40, 0x41, 0x46, 0x5b,
                                               0x5c, 0x5d, 0x61, 0x66, 0x6d, 0x78, 0x7e, 0x7f,
                                               0x80, 0x9b, 0x9c, 0x9d, 0xc3, 0xe4, 0xfe, 0xff};
    std::uint64_t state = seed;
    std::vector<std::uint8_t> input;
    std::size_t runs = 0;
    const auto until = std::chrono::steady_clock::now() +
                       std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    while (std::chrono::steady_clock::now() < until) {
        const std::size_t length = nextRandom(state) % ((runs % 16 == 0) ? 65536 : 512);
        input.resize(length);
        for (std::uint8_t &byte : input) {
            const std::uint64_t r = nextRandom(state);
            byte = (r & 3) ? interesting[(r >> 2) % sizeof interesting] : std::uint8_t(r >> 8);
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
        ++runs;
    }
    std::printf("%zu files and %zu random inputs ran without a fault\n", files, runs);
    return 0;
}
