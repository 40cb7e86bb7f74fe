#include "tests/support/oracle.h"

#include "tests/support/teststreams.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <QMap>
#include <QTemporaryDir>

using namespace quorvale;

namespace {

// What the program writes with `arguments`; kept like streams, since it depends on nothing that is tested.
QByteArray outputOf(const QStringList &arguments)
{
    const QTemporaryDir folder;
    return readFile(makeWithFFmpeg(folder.path(), "output", QStringList{"-v", "quiet"} + arguments));
}

} // namespace

QVector<QByteArray> pictureChecksums(const QString &path)
{
    static QMap<QString, QVector<QByteArray>> known;
    if (known.contains(path))
        return known[path];

    // One line a picture: stream, dts, pts, duration, size, checksum.
    const QByteArray text = outputOf({"-threads", "1", "-i", path, "-map", "0:v:0", passthroughOption(), "passthrough",
                                      "-f", "framehash", "-hash", "murmur3"});
    QVector<QByteArray> checksums;
    for (const QByteArray &line : text.split('\n')) {
        if (!line.isEmpty() && !line.startsWith('#'))
            checksums.append(line.mid(line.lastIndexOf(',') + 1).trimmed());
    }
    known[path] = checksums;
    return checksums;
}

QByteArray audioSamples(const QString &path, const QString &format)
{
    return outputOf({"-i", path, "-map", "0:a:0", "-f", format});
}
