#include "archive/archivediscovery.h"

#include "archive/archivepaths.h"

#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace {

QFileInfoList subdirectories(const QDir &directory)
{
    return directory.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
}

} // namespace

QStringList findArchives(const QString &mountPoint)
{
    // QDir takes an empty path for the current directory, which nobody asked for.
    if (mountPoint.isEmpty())
        return {};

    QStringList archives;
    QDir walker(mountPoint);
    const QFileInfoList volumes = subdirectories(walker);
    for (const QFileInfo &volume : volumes) {
        // No recovery, on purpose: the walk stays in the current directory and still goes up one level.
        if (!walker.cd(volume.fileName())) {
            std::fputs("scanDrives() -> cd FAIL\n", stdout);
            std::fflush(stdout);
        }
        const QFileInfoList entries = subdirectories(walker);
        for (const QFileInfo &entry : entries) {
            const bool isRecorderFolder = entry.fileName().compare(QLatin1String("DVR"), Qt::CaseInsensitive) == 0;
            if (isRecorderFolder && holdsArchive(walker.absolutePath()))
                archives.append(walker.absolutePath());
        }
        walker.cdUp();
    }
    return archives;
}
