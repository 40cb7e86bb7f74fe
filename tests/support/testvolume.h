#pragma once

#include "tests/support/files.h"
#include "tests/support/recordbytes.h"

#include <QDir>

/// Writes recorder volumes for tests.
namespace TestVolume {

using ::readFile;
using ::writeFile;

/// A file of `size` bytes that takes no room on the disk.
inline bool writeSparseFile(const QString &path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size);
}

/// Makes `directory` a recorder volume whose index has these bytes.
inline bool create(const QString &directory, const QByteArray &index, const QString &recorderFolder = "DVR")
{
    const QDir root(directory);
    return root.mkpath(recorderFolder + "/RECSINFO") && root.mkpath(recorderFolder + "/RECS") &&
           writeFile(directory + '/' + recorderFolder + "/RECSINFO/RECS.INF", index);
}

inline bool create(const QString &directory, const QList<RecordBytes> &records)
{
    return create(directory, indexBytes(records));
}

} // namespace TestVolume
