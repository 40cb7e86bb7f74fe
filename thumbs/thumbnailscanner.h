#pragma once

#include "thumbs/thumbnailcache.h"

#include <QObject>
#include <QPixmap>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <memory>
#include <vector>

class FFVideo;

/// Makes the thumbnails of a list of recordings, one recording per call of process().
///
/// The creator sets the fields, moves the scanner to a thread of its own and has process() called there; every call
/// posts the next one, so that the thread's event loop runs between two recordings. The fields are touched on that
/// thread alone once it runs: halt() is called through its event loop.
class ThumbnailScanner : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    QStringList files;             ///< full paths of the recordings, in the order in which thumbnails are wanted
    bool running = true;           ///< false: stop before the next recording
    std::int32_t index = 0;        ///< in `files`, of the next recording
    std::int32_t firstFrame = 150; ///< number of the first picture taken from each recording
    std::int32_t frameStep = 150;  ///< from one picture taken to the next

    /// Adds every series to `emitted` before it is emitted. The caller looks at the list only after the scanner's
    /// thread has ended.
    void noteSeriesIn(std::shared_ptr<QVector<ThumbnailEntry>> emitted) { m_emitted = std::move(emitted); }

signals:
    /// One recording that could be opened. `file` as in `files`; `small` and `large`: as many pixmaps each, in the
    /// order of the pictures, possibly none. The pixmaps are made with `new` and owned by the receiver; without a
    /// receiver the scanner frees them.
    void gotThumbs(QString file, QVector<QPixmap *> small, QVector<QPixmap *> large);
    /// One recording that could not be opened.
    void missingVideo(QString file);
    /// All recordings are done, or halt() was called. Comes last.
    void finished();

public slots:
    /// Handles one recording and posts the next call, or says that it has finished.
    void process();
    /// Stops before the next recording; the current one is completed.
    void halt();

private:
    void processFile(const QString &file);
    [[nodiscard]] std::vector<int> wantedFrames() const;
    void takePictures(FFVideo &video, QVector<QPixmap *> &small, QVector<QPixmap *> &large) const;

    std::shared_ptr<QVector<ThumbnailEntry>> m_emitted; ///< null if noteSeriesIn() was not called
};
