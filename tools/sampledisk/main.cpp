#include "tools/sampledisk/options.h"
#include "tools/sampledisk/sampledisk.h"

#include <exception>
#include <iostream>
#include <stdexcept>

using namespace quorvale;

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

const char *describe(SampleDiskResult result)
{
    switch (result) {
    case SampleDiskResult::Kept:
        return "The sample disk is there already: ";
    case SampleDiskResult::IndexRenewed:
        return "The sample disk was there already; its dates were renewed: ";
    case SampleDiskResult::Written:
        return "The sample disk is ready: ";
    }
    return "";
}

} // namespace

int main(int argc, char *argv[])
{
    try {
        const Options options = parseOptions(argc, argv);
        if (options.help) {
            std::cout << helpText();
            return kDone;
        }
        const SampleDiskResult result = makeSampleDisk(options, std::cout);
        std::cout << describe(result) << options.directory.string() << std::endl;
        return kDone;
    } catch (const std::invalid_argument &error) {
        std::cerr << "quorvale-sampledisk: " << error.what() << "\nTry \"quorvale-sampledisk --help\"." << std::endl;
        return kWrongCommandLine;
    } catch (const std::exception &error) {
        std::cerr << "quorvale-sampledisk: " << error.what() << std::endl;
        return kFailed;
    }
}
