#pragma once

#include "tests/support/capturedoutput.h"
#include "tests/support/imagenumber.h"
#include "thumbs/thumbnailscanner.h"

#include <QEventLoop>
#include <QStringList>
#include <QTimer>

#include <optional>
#include <vector>

/// What a scanner says of a file that it cannot read.
inline const QByteArray kUnreadable = "ThumbnailScanner - Could not read frame\n";

/// What a scanner said about one recording. The images are copies of the pixmaps.
struct ScannedSeries
{
    QString file;
    std::vector<QImage> small;
    std::vector<QImage> large;
    bool largeIsDense = true; ///< every large pixmap has a device pixel ratio of 2, every small one of 1
};

/// Receives everything that a scanner says, frees the pixmaps, and remembers the order.
class ScanListener : public QObject
{
public:
    explicit ScanListener(ThumbnailScanner &scanner)
    {
        connect(&scanner, &ThumbnailScanner::gotThumbs, this,
                [this](const QString &file, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                    events << "gotThumbs " + file;
                    take(file, small, large);
                });
        connect(&scanner, &ThumbnailScanner::missingVideo, this,
                [this](const QString &file) { events << "missingVideo " + file; });
        connect(&scanner, &ThumbnailScanner::finished, this, [this] { events << QStringLiteral("finished"); });
    }

    QStringList events;
    std::vector<ScannedSeries> series;

private:
    void take(const QString &file, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large)
    {
        ScannedSeries received{file, {}, {}, true};
        for (const QPixmap *pixmap : small) {
            received.largeIsDense &= pixmap->devicePixelRatio() == 1.0;
            received.small.push_back(pixmap->toImage());
        }
        for (const QPixmap *pixmap : large) {
            received.largeIsDense &= pixmap->devicePixelRatio() == 2.0;
            received.large.push_back(pixmap->toImage());
        }
        qDeleteAll(small);
        qDeleteAll(large);
        series.push_back(std::move(received));
    }
};

struct ScanResult
{
    QStringList events;
    std::vector<ScannedSeries> series;
    QByteArray errors; ///< what was written to stderr
};

/// Runs `scanner` in this thread until it says that it has finished, for three minutes at most.
inline ScanResult runScan(ThumbnailScanner &scanner)
{
    ScanListener listener(scanner);
    CapturedOutput capture(stderr);
    QEventLoop loop;
    QTimer::singleShot(180000, &loop, &QEventLoop::quit);
    QObject::connect(&scanner, &ThumbnailScanner::finished, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    scanner.process();
    loop.exec();
    return {listener.events, std::move(listener.series), capture.text()};
}

/// The same for a fresh scanner of `files`.
inline ScanResult runScan(const QStringList &files, int firstFrame = 150, int frameStep = 150)
{
    ThumbnailScanner scanner;
    scanner.files = files;
    scanner.firstFrame = firstFrame;
    scanner.frameStep = frameStep;
    return runScan(scanner);
}

using Numbers = std::vector<std::optional<unsigned>>;

/// The numbers that the block codes in `images` say.
inline Numbers numbersIn(const std::vector<QImage> &images)
{
    Numbers numbers;
    for (const QImage &image : images)
        numbers.push_back(numberIn(image));
    return numbers;
}
