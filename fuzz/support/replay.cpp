// Replaces the fuzzer: runs the target once for every file of the folders.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv)
{
    std::size_t files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator{argv[i]}) {
            std::printf("%s\n", entry.path().filename().c_str());
            std::fflush(stdout); // the last printed file is the one that does not return
            std::ifstream file{entry.path(), std::ios::binary};
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>{file}, {}};
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++files;
        }
    }
    return files > 0 ? 0 : 1;
}
