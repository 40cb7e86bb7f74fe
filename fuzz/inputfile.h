#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

/// A file with the fuzzer's bytes, under a name of this process's own. Removed with the object.
class InputFile
{
public:
    InputFile(const std::uint8_t *bytes, std::size_t size)
    {
        const char *folder = std::getenv("TMPDIR");
        name = std::string(folder ? folder : "/tmp") + "/quorvale-fuzz-XXXXXX";
        const int descriptor = mkstemp(name.data());
        std::FILE *file = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
        // Without its input a run would silently find nothing.
        if (!file || std::fwrite(bytes, 1, size, file) != size || std::fclose(file) != 0) {
            std::perror(name.c_str());
            std::abort();
        }
    }
    ~InputFile() { unlink(name.c_str()); }
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    [[nodiscard]] const char *path() const { return name.c_str(); }

private:
    std::string name;
};
