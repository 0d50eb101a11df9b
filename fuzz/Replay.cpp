// Gives a fuzzer every file of the folders named: without libFuzzer, in any build.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/Fuzz.hpp"

int main(int argc, char** argv)
{
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(file), {}};
            std::printf("%s\n", entry.path().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
            ++files;
        }
    }
    Require(files > 0, "there is something to replay");
    return 0;
}
