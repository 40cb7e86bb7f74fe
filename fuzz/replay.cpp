// replay FOLDER: hands every file of a kept corpus to the fuzzer's function, built with any compiler. A fault ends the
// process, and so does a folder without files: nothing would have been looked at.

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
        std::fflush(stdout); // stands there when the next call does not come back
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("%zu inputs\n", inputs.size());
    return inputs.empty() ? 1 : 0;
}
