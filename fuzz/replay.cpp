// replay FOLDER: gives every file of a kept corpus to the fuzzer's function, built with any compiler. Fails at a fault,
// and for a folder without files, because nothing would have been tested.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size);

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    std::vector<std::filesystem::path> inputs;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1]))
        inputs.push_back(entry.path());
    std::sort(inputs.begin(), inputs.end());
    for (const auto &path : inputs) {
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s\n", path.filename().c_str());
        std::fflush(stdout); // is visible if the next call does not return
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
