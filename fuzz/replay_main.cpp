// Runs a fuzz target's LLVMFuzzerTestOneInput over files and folders of inputs without
// libFuzzer, so the saved regression inputs replay in the ordinary (g++) builds. A target
// that finds a fault aborts; an argument that holds no input is an error too.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<fs::path> files;
        if (fs::is_directory(argv[i])) {
            for (const auto& e : fs::recursive_directory_iterator(argv[i]))
                if (e.is_regular_file()) files.push_back(e.path());
        } else if (fs::is_regular_file(argv[i])) {
            files.emplace_back(argv[i]);
        }
        if (files.empty()) {
            std::fprintf(stderr, "%s: no input files\n", argv[i]);
            return 1;
        }
        for (const fs::path& f : files) {
            std::ifstream in(f, std::ios::binary);
            std::vector<uint8_t> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            std::printf("%s (%zu bytes)\n", f.c_str(), data.size());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(data.data(), data.size());
            ++runs;
        }
    }
    std::printf("%d inputs replayed without a fault\n", runs);
    return runs > 0 ? 0 : 1;
}
