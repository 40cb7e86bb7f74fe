#pragma once

#include <QPixmap>
#include <QString>
#include <QVector>

#include <optional>

/// One recording's series of pictures. A plain value that shares its pixmaps with its copies.
struct ThumbnailEntry
{
    QString path;          ///< of the recording's main file, as the scanner was given it
    QVector<QPixmap *> x1; ///< standard density
    QVector<QPixmap *> x2; ///< double density, entry for entry the same pictures
};

/// The first entry of `cache` whose path is exactly `path`.
std::optional<ThumbnailEntry> findThumbnails(const QVector<ThumbnailEntry> &cache, const QString &path);

/// Deletes every pixmap that `cache` owns and empties it. Widgets that show them must be emptied before control returns
/// to the event loop.
void deleteThumbnails(QVector<ThumbnailEntry> &cache);
