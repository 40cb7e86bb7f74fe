#pragma once

#include <QProcess>

/// What a file costs that is read by a process of its own, whose memory the system reports (memoryvisitor.cpp).
namespace memoryvisit {

constexpr qint64 kUsualMiB = 256; // pictures up to 1920x1088
constexpr qint64 kMostMiB = 1024;
constexpr int kAll = 5; // pictures that each reader asks for

struct Visit
{
    int pictures = -1; ///< that were decoded; negative: the process did not end as it should
    qint64 mib = 0;    ///< at most
};

/// `reader`: "literal", "exact" beside that one, "scanner", "scans", or "open", which asks for no picture.
[[nodiscard]] inline Visit visitWith(const QString &reader, const QString &path)
{
    QProcess visitor;
    visitor.start(QUORVALE_MEMORY_VISITOR, {reader, path});
    if (!visitor.waitForFinished(300000) || visitor.exitStatus() != QProcess::NormalExit)
        return {};
    const QList<QByteArray> words = visitor.readAllStandardOutput().simplified().split(' ');
    return words.size() == 2 ? Visit{words.at(0).toInt(), words.at(1).toLongLong()} : Visit();
}

} // namespace memoryvisit
