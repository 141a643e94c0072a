// Runs a fuzz target over every file of its corpus folders, without a fuzzer:
// the unit tests replay the seeds and every crash once found. A file that makes
// the code crash or trip a sanitizer ends the run with a failure; a folder that
// is missing or empty fails too, so a test never passes by running nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER...\n", argv[0]);
        return 2;
    }
    std::size_t ran = 0;
    for (int i = 1; i < argc; ++i) {
        const auto files = filesIn(argv[i]);
        if (files.empty()) {
            std::fprintf(stderr, "no inputs in %s\n", argv[i]);
            return 1;
        }
        for (const auto& file : files) {
            // Named first, so the input behind a crash is the last one printed.
            std::printf("%s\n", file.filename().c_str());
            std::fflush(stdout);
            const std::string bytes = contents(file);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++ran;
        }
    }
    std::printf("replayed %zu inputs\n", ran);
    return 0;
}
