// A race that ThreadSanitizer must report: a scanner that is stopped from another thread without its event queue. If it
// does not, that the other tests pass proves nothing.

#include "tests/support/seenqueues.h"
#include "thumbs/thumbnailscanner.h"

#include <QEventLoop>
#include <QThread>

int main(int argc, char **argv)
{
    const SeenQueuesApplication application(argc, argv);
    ThumbnailScanner scanner;
    for (int i = 0; i < 100000; ++i)
        scanner.files << QStringLiteral("/nonexistent");
    QThread thread;
    scanner.moveToThread(&thread);
    QEventLoop loop;
    QObject::connect(&thread, &QThread::started, &scanner, &ThumbnailScanner::process);
    QObject::connect(&scanner, &ThumbnailScanner::missingVideo, &loop, &QEventLoop::quit);
    QObject::connect(&scanner, &ThumbnailScanner::finished, &thread, &QThread::quit, Qt::DirectConnection);
    thread.start();
    loop.exec(); // It scans.
    scanner.halt();
    return thread.wait() ? 0 : 1;
}
