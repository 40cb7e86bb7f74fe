#pragma once

#include <QByteArray>
#include <QString>

/// Gives this process a mount table of its own, so that a test can mount what it likes and nobody else sees it. As an
/// ordinary user it takes a user namespace along. Called first thing in main(), while there is one thread.
/// Empty when mounting works from now on; otherwise why this machine does not allow it.
QByteArray enterPrivateMounts();

/// Something mounted on a folder; taken down, with all that is mounted inside, at the end of its life.
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

    /// As ejecting does it: false while something on the disk is in use.
    bool unmount();

    /// From now on, what is mounted inside this disk appears in every other place where it is seen, too.
    bool share();

private:
    Mount(const char *source, const QString &folder, const char *type, unsigned long flags);

    QByteArray m_folder;
    bool m_mounted;
};
