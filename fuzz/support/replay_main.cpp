// Runs a fuzz target over saved inputs without libFuzzer, so that every
// compiler's build replays the corpora: each argument is a file or a folder
// of files. A failed check aborts, which fails the run.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_input.h"

namespace {

void replay(const std::filesystem::path &file) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv) {
    long inputs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        if (!std::filesystem::is_directory(arg)) {
            replay(arg);
            ++inputs;
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(arg))
            if (entry.is_regular_file()) {
                replay(entry.path());
                ++inputs;
            }
    }
    std::printf("%ld inputs replayed\n", inputs);
    return inputs > 0 ? 0 : 1;
}
