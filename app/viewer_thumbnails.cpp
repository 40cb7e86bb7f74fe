// The window's side of the thumbnails: one scan at a time, its end, and the cache of its results.

#include "app/viewer.h"

#include "app/scanprogress.h"
#include "thumbs/scanthreads.h"
#include "thumbs/thumbnailscanner.h"

#include <QThread>

using namespace quorvale;

namespace {

constexpr int kFirstFrame = 150; // six seconds at 25 frames per second: after most opening titles
constexpr int kFrameStep = 150;

} // namespace

void Viewer::getThumbnails()
{
    if (thumbnailScanRunning)
        return;
    scanThread = new QThread; // deletes itself when it ends
    scanThread->setObjectName(QStringLiteral("Quorvale-ThumbnailScanner"));

    QStringList files;
    for (std::size_t row = 0; row < programmes.size(); ++row)
        files.append(recordingFile(static_cast<int>(row)));

    thumbnailScanRunning = true;
    scanProgress->start(files);
    describePictures();
    scanner = new ThumbnailScanner; // deletes itself when it has finished
    scanner->files = files;
    scanner->index = 0;
    scanner->running = true;
    scanner->firstFrame = kFirstFrame;
    scanner->frameStep = kFrameStep;
    scanner->moveToThread(scanThread);

    ScanThreads::instance().add(scanThread, scanner);
    connect(scanThread, SIGNAL(started()), scanner, SLOT(process()));
    connect(scanner, SIGNAL(gotThumbs(QString, QVector<QPixmap *>, QVector<QPixmap *>)), this,
            SLOT(SetThumbs(QString, QVector<QPixmap *>, QVector<QPixmap *>)));
    connect(scanner, SIGNAL(finished()), this, SLOT(scanDone()));
    connect(scanner, SIGNAL(finished()), scanner, SLOT(deleteLater()));
    connect(scanThread, SIGNAL(finished()), scanThread, SLOT(deleteLater()));
    // When the scan is done the thread stays, idle; it ends with the program.
    scanThread->start(QThread::InheritPriority);
}

void Viewer::SetThumbs(QString path, QVector<QPixmap *> x1, QVector<QPixmap *> x2)
{
    ScanThreads::instance().claim(x1);
    thumbnailCache.append({path, x1, x2});
    if (currentProgramme >= 0 && recordingFile(currentProgramme) == path)
        ui.thumbnailLabel->SetThumbs(x1, x2);
    scanProgress->cameBy(path, !x1.isEmpty());
    describePictures();
}

void Viewer::scanDone()
{
    thumbnailScanRunning = false;
    scanProgress->finish();
    describePictures();
}

void Viewer::deleteThumbs()
{
    deleteThumbnails(thumbnailCache);
}
