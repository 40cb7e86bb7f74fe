#include "tests/platform/privatemounts.h"

#include <QFile>
#include <QTemporaryDir>

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

QByteArray failure(const char *what)
{
    return QByteArray("This machine allows no mounts here: ").append(what).append(": ").append(std::strerror(errno));
}

bool write(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
}

/// Inside the new user namespace this user is root, as mounting requires.
bool becomeRootInside(uid_t user, gid_t group)
{
    return write(QStringLiteral("/proc/self/setgroups"), "deny") &&
           write(QStringLiteral("/proc/self/uid_map"), "0 " + QByteArray::number(user) + " 1") &&
           write(QStringLiteral("/proc/self/gid_map"), "0 " + QByteArray::number(group) + " 1");
}

} // namespace

QByteArray enterPrivateMounts()
{
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return failure("no mount namespace");
        if (!becomeRootInside(user, group))
            return failure("no user mapping");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return failure("mounts stay shared");

    const QTemporaryDir folder;
    if (!Mount::disk(folder.path()).isMounted())
        return failure("no mount");
    return {};
}

Mount Mount::disk(const QString &folder)
{
    return Mount("tmpfs", folder, "tmpfs", 0);
}

Mount Mount::folderAsDisk(const QString &source, const QString &folder)
{
    return Mount(QFile::encodeName(source).constData(), folder, nullptr, MS_BIND);
}

Mount::Mount(const char *source, const QString &folder, const char *type, unsigned long flags)
    : m_folder(QFile::encodeName(folder))
    , m_mounted(mount(source, m_folder.constData(), type, flags, nullptr) == 0)
{
}

Mount::~Mount()
{
    if (m_mounted)
        umount2(m_folder.constData(), MNT_DETACH);
}

bool Mount::unmount()
{
    if (!m_mounted || umount2(m_folder.constData(), 0) != 0)
        return false;
    m_mounted = false;
    return true;
}

bool Mount::share()
{
    return mount(nullptr, m_folder.constData(), nullptr, MS_SHARED, nullptr) == 0;
}
