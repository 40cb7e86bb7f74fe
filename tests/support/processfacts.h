#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>

/// What the operating system knows of this process. Linux only: available() says whether the others can be asked.
namespace processfacts {

inline bool available()
{
    return QFile::exists("/proc/self/status");
}

/// A number of /proc/self/status, in its own unit (KiB for memory); -1 where it is missing.
inline qint64 status(const QByteArray &field)
{
    QFile file("/proc/self/status");
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).simplified().split(' ').first().toLongLong();
    }
    return -1;
}

/// Memory that is in use, now and at its peak.
inline qint64 residentKiB()
{
    return status("VmRSS");
}
inline qint64 mostResidentKiB()
{
    return status("VmHWM");
}

/// Addresses that were ever set aside at once, whether used or not.
inline qint64 mostAddressesKiB()
{
    return status("VmPeak");
}

inline qint64 threads()
{
    return status("Threads");
}

inline int openDescriptors()
{
    return int(QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

} // namespace processfacts
