// The main program of an executable that holds several classes of tests:
//
//     tst_app tst_viewer [ARGUMENT...]   runs the class in tst_viewer.cpp; the arguments are Qt Test's
//     tst_app                            lists the classes

#include "tests/support/testclass.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

namespace {

std::map<std::string, quorvale::TestRun> &testClasses()
{
    static std::map<std::string, quorvale::TestRun> classes;
    return classes;
}

void printClasses(std::FILE *output)
{
    for (const auto &[name, run] : testClasses())
        std::fprintf(output, "%s\n", name.c_str());
}

} // namespace

quorvale::TestClass::TestClass(const char *file, TestRun run)
{
    testClasses().emplace(std::filesystem::path(file).stem().string(), run); // Qt may not be used yet.
}

int main(int argc, char **argv)
{
    if (argc < 2) {
        printClasses(stdout);
        return 0;
    }
    const auto found = testClasses().find(argv[1]);
    if (found == testClasses().end()) {
        std::fprintf(stderr, "there is no %s here, but there are:\n", argv[1]);
        printClasses(stderr);
        return 1;
    }
    argv[1] = argv[0];
    return found->second(argc - 1, argv + 1);
}
