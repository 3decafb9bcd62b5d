// Runs a fuzz target's entry point once on each file named (or each file in each folder
// named), without libFuzzer: the seed corpus replayed by the ordinary build's tests.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerInitialize(&argc, &argv);
    std::set<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path named(argv[i]);
        if (!std::filesystem::is_directory(named)) {
            files.insert(named);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(named)) {
            if (entry.is_regular_file()) {
                files.insert(entry.path());
            }
        }
    }
    if (files.empty()) {
        std::cerr << "replay: no inputs\n";
        return 2;
    }
    for (const auto& file : files) {
        // Named first, so the input that stops the run is the last one listed.
        std::cerr << "replay: " << file.string() << "\n";
        replay(file);
    }
    std::cout << "replay: " << files.size() << " inputs, no failure\n";
    return 0;
}
