#pragma once

#include <QByteArray>
#include <QString>

/// Gives this process a mount namespace of its own, so that nobody else sees what a test mounts; an ordinary user also
/// gets a user namespace. Called first in main(), while there is one thread. Empty if mounting now works; otherwise
/// why tests that mount are skipped.
QByteArray enterPrivateMounts();

/// A mount on a folder; its destructor unmounts it, with all mounts inside.
class Mount
{
public:
    /// An empty disk (tmpfs).
    static Mount disk(const QString &folder);

    /// The folder `source`, seen at `folder` as a disk of its own.
    static Mount folderAsDisk(const QString &source, const QString &folder);

    ~Mount();

    Mount(const Mount &) = delete;
    Mount &operator=(const Mount &) = delete;

    [[nodiscard]] bool isMounted() const { return m_mounted; }

    /// Unmounts as ejecting does; false while something on the disk is in use.
    bool unmount();

    /// From now on, mounts inside this disk also appear in every other place where it is mounted.
    bool share();

private:
    Mount(const char *source, const QString &folder, const char *type, unsigned long flags);

    QByteArray m_folder;
    bool m_mounted;
};
