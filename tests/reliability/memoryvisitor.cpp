// memoryvisitor READER FILE: reads a file in one of the ways of the program, and prints how many of the pictures that
// it asked for could be decoded, and how much memory that took at most, in MiB.

#include "platform/oneheap.h"
#include "tests/support/picture.h"
#include "tests/support/processfacts.h"
#include "thumbs/thumbnailscanner.h"
#include "video/exact/exactreader.h"
#include "video/ffvideo.h"

#include <QEventLoop>
#include <QGuiApplication>

#include <cstdio>
#include <thread>

#include <sys/resource.h>

namespace {

#ifdef __APPLE__
constexpr qint64 kUnitsAMiB = 1024 * 1024;
#else
constexpr qint64 kUnitsAMiB = 1024;
#endif

// Pictures that are not copied were decoded all the same.
int readNumbers(const QByteArray &reader, const char *path)
{
    FFVideo video;
    if (!video.Open(path, true, FFVideo::FF_ACCESS_READ))
        return 0;
    if (reader == "open")
        return 1;
    int decoded = 0;
    if (reader == "literal") {
        for (const int number : {0, 3, 10, 17, 20}) {
            Picture picture;
            decoded += video.Read(number, picture) || video.lastError == FFVideo::FF_ERROR_LAYOUT ? 1 : 0;
        }
        return decoded;
    }
    // Beside the open FFVideo, as the scanner does it; in an order that restarts in the middle.
    using Answer = quorvale::ExactReader::Answer;
    quorvale::ExactReader exact(video);
    for (const int number : {20, 3, 17, 0, 10}) {
        Picture picture;
        const Answer answer = exact.read(number, picture);
        decoded += answer == Answer::Picture || answer == Answer::NotCopied ? 1 : 0;
    }
    return decoded;
}

int scan(const char *path)
{
    ThumbnailScanner scanner;
    scanner.files = QStringList(QString::fromLocal8Bit(path));
    scanner.firstFrame = 0;
    scanner.frameStep = 5;
    int pictures = 0;
    QEventLoop loop;
    QObject::connect(&scanner, &ThumbnailScanner::gotThumbs,
                     [&](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                         pictures = static_cast<int>(small.size());
                         qDeleteAll(small);
                         qDeleteAll(large);
                     });
    QObject::connect(&scanner, &ThumbnailScanner::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    scanner.process();
    loop.exec();
    return pictures;
}

// As the window scans: each time on a thread of its own, which stays.
int scanOnThreads(const char *path, int threads)
{
    int pictures = 0;
    std::thread([&] {
        pictures = scan(path);
        if (threads > 1)
            pictures += scanOnThreads(path, threads - 1);
    }).join();
    return pictures;
}

} // namespace

int main(int argc, char **argv)
{
    quorvale::useOneHeap();
    const QGuiApplication application(argc, argv);
    if (argc != 3)
        return 1;
    const QByteArray reader = argv[1];
    const int decoded = reader == "scanner" ? scan(argv[2])
                        : reader == "scans" ? scanOnThreads(argv[2], 12)
                                            : readNumbers(reader, argv[2]);
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage); // on Linux, with the memory of the process that started this one
    const qint64 mib =
        processfacts::available() ? processfacts::mostResidentKiB() / 1024 : qint64{usage.ru_maxrss} / kUnitsAMiB;
    std::printf("%d %lld\n", decoded, static_cast<long long>(mib));
    return 0;
}
