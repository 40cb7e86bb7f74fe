#pragma once

#include "thumbs/thumbnailcache.h"

#include <QObject>
#include <QPointer>

#include <memory>

class QThread;
class ThumbnailScanner;

namespace quorvale {

/// The threads on which scans run or have run, from their start to the end of the program.
///
/// A window starts scans and may be closed before they end. Idle threads stay until end(). So do series that were on
/// their way to a window that has gone: only this object knows of them. Main thread only.
class ScanThreads : public QObject
{
public:
    /// How long the end of the program waits for a scan that hangs on a dying disk.
    static constexpr int kPatienceAtExitMs = 3000;

    /// The only object in the process. It lives as long as the application object, whose end also ends the scans.
    static ScanThreads &instance();

    /// Registers a scan before it starts, and gives its thread an event loop that needs no descriptor. Owns neither
    /// object, and connects nothing to them.
    void add(QThread *thread, ThumbnailScanner *scanner);

    /// Says that the series with these small pixmaps has arrived and has an owner. Both the series and the claim are
    /// forgotten when the scanner has gone, which is after all of its series have arrived.
    void claim(const QVector<QPixmap *> &x1);
    [[nodiscard]] int openClaims() const { return int(m_claimed.size()); }

    /// Ends the threads, each after the file in hand, and waits for them, together up to `patienceMs` milliseconds,
    /// then deletes scanners, threads and every series that nobody claimed. False when a thread did not end in time: it
    /// hangs in the file system, and the end of the process must not wait for it.
    bool end(int patienceMs = kPatienceAtExitMs);

private:
    using SeriesList = QVector<ThumbnailEntry>;

    std::shared_ptr<SeriesList> noteFor(const std::shared_ptr<SeriesList> &emitted);
    void forgetClaimed(SeriesList &emitted);

    struct Scan
    {
        QPointer<QThread> thread;
        QPointer<ThumbnailScanner> scanner;  ///< deletes itself on its thread: looked at only once that has ended
        std::shared_ptr<SeriesList> emitted; ///< the scanner's, as long as its thread runs
    };

    QVector<Scan> m_scans;
    QVector<QVector<QPixmap *>> m_claimed; ///< an address can come again when its pixmap was deleted
};

} // namespace quorvale
