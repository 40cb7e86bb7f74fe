// The window's side of the thumbnails: the cache that owns them, and its end.

#include "app/viewer.h"

void Viewer::deleteThumbs()
{
    deleteThumbnails(thumbnailCache);
}
