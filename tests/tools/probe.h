#pragma once

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QStringList>

/// The standard output of the ffprobe program, one "name=value" per line; empty when it fails.
inline QByteArray ffprobe(const QString &path, const QStringList &arguments)
{
    QProcess program;
    program.start("ffprobe", QStringList{"-v", "error", "-of", "default=nw=1"} + arguments + QStringList{path});
    program.waitForFinished(60000);
    return program.exitCode() == 0 ? program.readAllStandardOutput() : QByteArray();
}

/// What the ffprobe program says about a stream of a file: "v:0" is the first picture stream, "a:0" the first sound.
/// Empty when there is no such stream.
inline QMap<QByteArray, QByteArray> probeStream(const QString &path, const QString &stream)
{
    QMap<QByteArray, QByteArray> facts;
    for (const auto &line : ffprobe(path, {"-select_streams", stream, "-show_streams"}).split('\n')) {
        const auto equals = line.indexOf('=');
        const QByteArray name = line.left(equals);
        if (equals > 0 && !facts.contains(name)) // a programme repeats its streams
            facts.insert(name, line.mid(equals + 1).trimmed());
    }
    return facts;
}
