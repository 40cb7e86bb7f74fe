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

// Runs while the application object is being destroyed: a scan that made a pixmap later would abort the process.
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
    const auto emitted = std::make_shared<SeriesList>();
    scanner->noteSeriesIn(emitted);
    m_scans.append({thread, scanner, emitted});
    thread->setEventDispatcher(new PostedEvents); // owned by the thread
    connect(this, &ScanThreads::halting, scanner, &ThumbnailScanner::halt);
}

void ScanThreads::claim(const QVector<QPixmap *> &x1, const QVector<QPixmap *> &x2)
{
    if (!x1.isEmpty())
        m_claimed.append({QString(), x1, x2});
}

// Addresses can repeat, so a series counts as claimed as often as its addresses were claimed. The others have no owner.
void ScanThreads::deleteUnclaimed(const SeriesList &emitted)
{
    SeriesList unclaimed;
    for (const ThumbnailEntry &series : emitted) {
        const auto claimed = std::find_if(m_claimed.begin(), m_claimed.end(), [&](const ThumbnailEntry &entry) {
            return entry.x1 == series.x1 && entry.x2 == series.x2;
        });
        if (claimed != m_claimed.end())
            m_claimed.erase(claimed);
        else
            unclaimed.append(series);
    }
    deleteThumbnails(unclaimed);
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
        deleteUnclaimed(*scan.emitted);
    }
    m_scans.clear();
    m_claimed.clear();
    return true;
}

} // namespace quorvale
