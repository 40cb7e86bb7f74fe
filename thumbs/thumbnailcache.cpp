#include "thumbs/thumbnailcache.h"

#include <algorithm>

std::optional<ThumbnailEntry> findThumbnails(const QVector<ThumbnailEntry> &cache, const QString &path)
{
    const auto entry =
        std::find_if(cache.cbegin(), cache.cend(), [&](const ThumbnailEntry &e) { return e.path == path; });
    if (entry == cache.cend())
        return std::nullopt;
    return *entry;
}

void deleteThumbnails(QVector<ThumbnailEntry> &cache)
{
    for (const ThumbnailEntry &entry : std::as_const(cache)) {
        qDeleteAll(entry.x1);
        qDeleteAll(entry.x2);
    }
    cache.clear();
}
