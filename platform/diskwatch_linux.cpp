#include "platform/diskwatch.h"

#include "platform/newdisknotifier.h"

#include <QFile>
#include <QPointer>
#include <QSocketNotifier>

#include <poll.h>
#include <unistd.h>

#include <cstdio>

namespace {

/// Waits until the change that woke us is complete.
///
/// The kernel holds the table's lock from before a change until after its last step, and who begins to read the table
/// waits for that lock. Nobody needs the text.
void awaitChange(const QFile &table)
{
    char text = 0;
    static_cast<void>(pread(table.handle(), &text, 1, 0));
}

/// Tells the kernel that every change up to now has been noticed.
void acknowledge(const QFile &table)
{
    // The call itself resets the condition; its result, even a failure, changes nothing here.
    pollfd question{table.handle(), POLLPRI, 0};
    static_cast<void>(poll(&question, 1, 0));
}

} // namespace

/// Watches the mount table of this process.
///
/// The kernel raises an exceptional condition on an open mount table at every mount and unmount. A file watcher would
/// get no events: nobody writes to the table.
class DiskWatch::Source
{
public:
    explicit Source(NewDiskNotifier *notifier)
        : m_notifier(notifier)
    {
        if (!m_table.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "DiskWatch: cannot open %s (%s), disks that come and go are not noticed\n",
                         qPrintable(m_table.fileName()), qPrintable(m_table.errorString()));
            return;
        }
        m_exception = std::make_unique<QSocketNotifier>(m_table.handle(), QSocketNotifier::Exception);
        QObject::connect(m_exception.get(), &QSocketNotifier::activated, m_exception.get(), [this] { tableChanged(); });
    }

private:
    /// A disk that is mounted in a shared folder appears in every copy of that folder, and each copy raises the
    /// condition. To make one signal of them, this waits until the change is complete and acknowledges it as a whole. A
    /// change after the acknowledgement wakes us again, so nothing is lost.
    void tableChanged()
    {
        awaitChange(m_table);
        acknowledge(m_table);
        if (m_notifier)
            emit m_notifier->disksChanged();
    }

    QPointer<NewDiskNotifier> m_notifier; // the window deletes the notifier first, then the watch
    QFile m_table{QStringLiteral("/proc/self/mountinfo")};
    std::unique_ptr<QSocketNotifier> m_exception; // destroyed before the descriptor it listens to
};

DiskWatch::DiskWatch(NewDiskNotifier *notifier)
    : m_source(std::make_unique<Source>(notifier))
{
}

DiskWatch::~DiskWatch() = default;
