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
    if (theInstance)
        theInstance->end(); // A thread that hangs is left running.
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
    scanner->noteSeriesIn(noteFor(emitted));
    m_scans.append({thread, scanner, emitted});
    thread->setEventDispatcher(new PostedEvents); // owned by the thread
}

void ScanThreads::claim(const QVector<QPixmap *> &x1)
{
    if (!x1.isEmpty())
        m_claimed.append(x1);
}

// The same list for the scanner. The scanner lets go of it on its own thread, after it has posted all of its series:
// the call that is posted then comes after them, and nothing has to be connected.
std::shared_ptr<ScanThreads::SeriesList> ScanThreads::noteFor(const std::shared_ptr<SeriesList> &emitted)
{
    const auto postForget = [this, emitted](SeriesList *) {
        QMetaObject::invokeMethod(
            this, [this, emitted] { forgetClaimed(*emitted); }, Qt::QueuedConnection);
    };
    return {emitted.get(), postForget};
}

// Addresses can repeat, so a series counts as claimed as often as its addresses were claimed. The others have no owner.
void ScanThreads::forgetClaimed(SeriesList &emitted)
{
    SeriesList unclaimed;
    for (const ThumbnailEntry &series : std::as_const(emitted)) {
        if (!m_claimed.removeOne(series.x1))
            unclaimed.append(series);
    }
    emitted = unclaimed;
}

bool ScanThreads::end(int patienceMs)
{
    const QDeadlineTimer deadline(patienceMs);
    for (const Scan &scan : std::as_const(m_scans)) {
        if (scan.thread)
            scan.thread->quit(); // after the file in hand: the next one is a posted call, which then stays undelivered
    }
    const bool allEnded = std::all_of(m_scans.cbegin(), m_scans.cend(),
                                      [&](const Scan &scan) { return !scan.thread || scan.thread->wait(deadline); });
    if (!allEnded)
        return false;

    for (const Scan &scan : std::as_const(m_scans)) {
        delete scan.scanner.data();
        delete scan.thread.data();
        forgetClaimed(*scan.emitted);
        deleteThumbnails(*scan.emitted); // which empties it
    }
    m_scans.clear();
    m_claimed.clear();
    return true;
}

} // namespace quorvale
