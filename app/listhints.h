#pragma once

#include <QString>
#include <QStringList>

// What the window's two lists say while they are empty. These functions need no window; a text is empty if there is
// nothing to say.

namespace quorvale {

/// Whether the list of devices is that of the current mount point.
enum class MountPointScan { Done, Due };

/// Why there is no device, and what to do. Looks at `mountPoint`, twice at most, and not at all while its scan is due:
/// a place that has just been typed may not answer. `usualPlace`: where this system mounts disks, or empty if that is
/// not known.
[[nodiscard]] QString noDeviceText(const QString &mountPoint, MountPointScan scan, const QString &usualPlace);

/// The first directory of `candidates` that exists; empty when none does.
[[nodiscard]] QString firstDirectoryOf(const QStringList &candidates);

/// Where desktops of this system mount the disks of this user, most usual first.
[[nodiscard]] QStringList usualMountPoints();

/// Why there is no programme.
[[nodiscard]] QString nothingLoadedText();
[[nodiscard]] QString unreadableDeviceText(const QString &device);
[[nodiscard]] QString emptyDeviceText(const QString &device);

} // namespace quorvale
