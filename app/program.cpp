#include "app/program.h"

#include "app/qtversion.h"
#include "app/viewer.h"
#include "platform/descriptorlimit.h"
#include "platform/oneheap.h"
#include "thumbs/scanthreads.h"

#include <QApplication>
#include <QFont>

#include <cstdlib>

namespace {

int showWindow()
{
    Viewer viewer;
    viewer.show();
    return QApplication::exec();
}

} // namespace

int quorvale::runProgram(int argc, char **argv)
{
#ifdef Q_OS_MACOS
    // The system's own user-interface font cannot be asked for by its name.
    QFont::insertSubstitution(QStringLiteral(".Lucida Grande UI"), QStringLiteral("Lucida Grande"));
#endif
    useOneHeap();
    raiseDescriptorLimit();
    useScreenDensity();
    QApplication application(argc, argv);
    // By this name a desktop finds the program's menu entry, and with it the icon of its windows.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.quorvale.quorvale"));
    const int status = showWindow();
    // A scan that hangs on a dying disk must not keep the process alive; by now everything that matters is saved.
    if (!ScanThreads::instance().end())
        std::_Exit(status);
    return status;
}
