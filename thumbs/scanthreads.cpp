#include "thumbs/scanthreads.h"

#include "thumbs/postedevents.h"
#include "thumbs/thumbnailscanner.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <memory>

namespace quorvale {

namespace {

std::unique_ptr<ScanThreads> theInstance;

// Runs while the application object is being destroyed: later, a pixmap made by a scan would abort the process.
void endAtExit()
{
    if (theInstance && !theInstance->end())
        theInstance.release(); // NOLINT(bugprone-unused-return-value): a thread that hangs still refers to it.
    theInstance.reset();
}

} // namespace

ScanThreads &ScanThreads::instance()
{
    if (!theInstance) {
        qRegisterMetaType<QVector<QPixmap *>>("QVector<QPixmap *>");
        theInstance = std::make_unique<ScanThreads>();
        qAddPostRoutine(endAtExit);
    }
    return *theInstance;
}

void ScanThreads::add(QThread *thread, ThumbnailScanner *scanner)
{
    m_scans.append({thread, scanner});
    thread->setEventDispatcher(new quorvale::PostedEvents); // owned by the thread
    connect(scanner, &ThumbnailScanner::gotThumbs, this, &ScanThreads::keep);
    connect(this, &ScanThreads::halting, scanner, &ThumbnailScanner::halt);
}

void ScanThreads::claim(const QVector<QPixmap *> &x1, const QVector<QPixmap *> &x2)
{
    const auto claimed = std::find_if(m_unclaimed.begin(), m_unclaimed.end(),
                                      [&](const ThumbnailEntry &entry) { return entry.x1 == x1 && entry.x2 == x2; });
    if (claimed != m_unclaimed.end())
        m_unclaimed.erase(claimed);
}

void ScanThreads::keep(const QString &path, const QVector<QPixmap *> &x1, const QVector<QPixmap *> &x2)
{
    m_unclaimed.append({path, x1, x2});
}

bool ScanThreads::end(int patienceMs)
{
    const QDeadlineTimer deadline(patienceMs);
    emit halting();
    for (const Scan &scan : std::as_const(m_scans)) {
        if (scan.thread)
            scan.thread->quit(); // after the file in hand
    }
    const bool allEnded = std::all_of(m_scans.cbegin(), m_scans.cend(),
                                      [&](const Scan &scan) { return !scan.thread || scan.thread->wait(deadline); });
    if (!allEnded)
        return false;

    for (const Scan &scan : std::as_const(m_scans)) {
        delete scan.scanner.data();
        delete scan.thread.data();
    }
    m_scans.clear();
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall); // series still on their way to keep()
    deleteThumbnails(m_unclaimed);
    return true;
}

} // namespace quorvale
