// Runs a fuzz target over its seeds without a fuzzer: each seed whole, cut short at a number of
// places, and with single bytes bent, so that an ordinary test run also sees broken input.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void runOn(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size());
}

void runVariants(const std::string& seed) {
    constexpr size_t places = 24;
    runOn(seed);
    const size_t step = seed.size() / places + 1;
    for (size_t at = 0; at < seed.size(); at += step) {
        runOn(seed.substr(0, at));
        std::string bent = seed;
        bent[at] = static_cast<char>(bent[at] ^ 0x55);
        runOn(bent);
        bent[at] = '\0';
        runOn(bent);
    }
}

}  // namespace

int main(int argc, char** argv) {
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            runVariants(std::string(std::istreambuf_iterator<char>(file), {}));
            ++count;
        }
    }
    std::printf("%zu seeds replayed\n", count);
    return count == 0;
}
