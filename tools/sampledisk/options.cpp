#include "tools/sampledisk/options.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

namespace quorvale {

namespace {

int parseNumber(std::string_view option, std::string_view text, int most)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1 || number > most)
        throw std::invalid_argument(std::string(option) + " needs a number from 1 to " + std::to_string(most) +
                                    ", not \"" + std::string(text) + "\"");
    return number;
}

} // namespace

Options parseOptions(int argc, const char *const argv[])
{
    Options options;
    bool onlyNames = false; // after "--"
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        const auto value = [&]() -> std::string_view {
            if (++i == argc)
                throw std::invalid_argument(std::string(word) + " needs a number");
            return argv[i];
        };
        if (onlyNames || word.empty() || word.front() != '-') {
            if (word.empty())
                throw std::invalid_argument("the directory's name is empty");
            if (!options.directory.empty())
                throw std::invalid_argument("only one directory can be given");
            options.directory = word;
        } else if (word == "--") {
            onlyNames = true;
        } else if (word == "--help" || word == "-h") {
            options.help = true;
        } else if (word == "--recordings") {
            options.recordings = parseNumber(word, value(), kMostRecordings);
        } else if (word == "--length") {
            options.length = parseNumber(word, value(), kMostPictures);
        } else {
            throw std::invalid_argument("unknown option \"" + std::string(word) + "\"");
        }
    }
    if (options.directory.empty() && !options.help)
        throw std::invalid_argument("no directory given");
    return options;
}

std::string helpText()
{
    const Options defaults;
    return "Usage: quorvale-sampledisk [--recordings N] [--length FRAMES] DIR\n"
           "\n"
           "Writes a sample recorder disk, the volume DIR/RECORDER, with real, playable recordings whose\n"
           "pictures show their own number. Set DIR as the mount point to browse it. A disk that was written\n"
           "before with the same options is kept; with other options it is written again. Files that this\n"
           "program did not write are never changed or removed.\n"
           "\n"
           "  --recordings N   programmes on the disk (default " +
           std::to_string(defaults.recordings) +
           ")\n"
           "  --length FRAMES  pictures of a long recording, 25 per second (default " +
           std::to_string(defaults.length) +
           ")\n"
           "  --help           print this help\n"
           "\n"
           "The ffmpeg program must be installed. Exit status: 0 done, 1 failed, 2 wrong command line.\n";
}

} // namespace quorvale
