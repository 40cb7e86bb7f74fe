// Shows files in the file manager: each path from the standard input, ended by a NUL, because a file name may have
// every other byte. Writes the line "returned" after each call. Ends with its input.

#include "platform/descriptorlimit.h"
#include "platform/finder.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <unistd.h>

#include <array>
#include <cstdio>

namespace {

QByteArray pending;

void readPaths()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) {
        QCoreApplication::quit();
        return;
    }
    pending.append(bytes.data(), static_cast<int>(count));
    for (int end = static_cast<int>(pending.indexOf('\0')); end >= 0; end = static_cast<int>(pending.indexOf('\0'))) {
        OpenFinderWindowAt(pending.left(end).constData());
        pending.remove(0, end + 1);
        std::puts("returned");
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char **argv)
{
    quorvale::raiseDescriptorLimit(); // as the program does
    const QCoreApplication application(argc, argv);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, readPaths);
    return QCoreApplication::exec();
}
