#pragma once

#include <QMap>
#include <QSize>
#include <QString>

/// Streams of `frames` pictures of `size` in `folder`, one for each way of coding: path by name. A path is empty if
/// the stream could not be made.
[[nodiscard]] QMap<QString, QString> makeWholeStreams(const QString &folder, int frames, const QSize &size);

/// The same streams with something missing or added, made from what makeWholeStreams() returned.
[[nodiscard]] QMap<QString, QString> makeDamagedStreams(const QString &folder, const QMap<QString, QString> &whole);

/// H.264 whose recovery points promise nothing (exact_match_flag 0), out of a stream with open groups; after
/// the IDR picture at its beginning if that is kept.
[[nodiscard]] QString makeInexactStream(const QString &folder, const QString &open, bool keepsIdr = false);
