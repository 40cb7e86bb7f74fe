#include "app/listhints.h"

#include "app/displaypath.h"
#include "archive/archivepaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <pwd.h>
#include <unistd.h>

namespace quorvale {

namespace {

// The directory around `directory`, however that is written; "/" for the root.
QString directoryAround(const QString &directory)
{
    return QFileInfo(QDir::cleanPath(QDir(directory).absolutePath())).absolutePath();
}

} // namespace

QString noDeviceText(const QString &mountPoint, MountPointScan scan, const QString &usualPlace)
{
    const QString place = pathInText(mountPoint);
    if (mountPoint.isEmpty()) {
        return QCoreApplication::translate("Viewer", "No mount point is set. Choose in the preferences where disks are "
                                                     "mounted, or open a directory.");
    }
    if (scan == MountPointScan::Due) {
        return QCoreApplication::translate("Viewer", "Quorvale will look in %1 when a disk comes or goes, and whenever "
                                                     "it is started.")
            .arg(place);
    }
    if (!QFileInfo(mountPoint).isDir()) {
        const QString missing =
            QCoreApplication::translate("Viewer", "There is no directory %1. Choose in the preferences where disks are "
                                                  "mounted, or open a directory.")
                .arg(place);
        if (usualPlace.isEmpty())
            return missing;
        return missing + QLatin1Char(' ') +
               QCoreApplication::translate("Viewer", "Here it seems to be %1.").arg(pathInText(usualPlace));
    }
    // There is nothing around the root.
    if (holdsArchive(mountPoint) && !QDir(mountPoint).isRoot()) {
        return QCoreApplication::translate("Viewer", "%1 is a disk itself. The mount point is the directory around it: "
                                                     "set it to %2 in the preferences.")
            .arg(place, pathInText(directoryAround(mountPoint)));
    }
    return QCoreApplication::translate("Viewer", "No recorder disk in %1. Plug one in, choose another mount point in "
                                                 "the preferences, or open a directory.")
        .arg(place);
}

QString firstDirectoryOf(const QStringList &candidates)
{
    for (const QString &candidate : candidates) {
        if (QFileInfo(candidate).isDir())
            return candidate;
    }
    return {};
}

QStringList usualMountPoints()
{
#ifdef Q_OS_MACOS
    return {QStringLiteral("/Volumes")};
#else
    const passwd *account = ::getpwuid(::getuid());
    if (!account)
        return {};
    const QString user = QString::fromLocal8Bit(account->pw_name); // The home folder may have another name.
    return {QStringLiteral("/media/") + user, QStringLiteral("/run/media/") + user};
#endif
}

QString nothingLoadedText()
{
    return QCoreApplication::translate("Viewer", "Click a device to list its programmes.");
}

QString unreadableDeviceText(const QString &device)
{
    return QCoreApplication::translate("Viewer",
                                       "The list of recordings on %1 cannot be read. Is the disk still there, "
                                       "and may you read it?")
        .arg(pathInText(device));
}

QString emptyDeviceText(const QString &device)
{
    return QCoreApplication::translate("Viewer", "There are no recordings on %1.").arg(pathInText(device));
}

} // namespace quorvale
