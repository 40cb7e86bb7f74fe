#include "app/picturestext.h"

#include "thumbs/thumbnailcache.h"

#include <QCoreApplication>

namespace quorvale {

namespace {

QString noPictures()
{
    return QCoreApplication::translate("Viewer", "no pictures can be had");
}

} // namespace

QString picturesText(const ThumbnailEntry &series)
{
    int count = 0;
    for (int i = 0; i < series.x1.size(); ++i)
        count += series.x1.value(i) || series.x2.value(i) ? 1 : 0;
    if (count == 0)
        return noPictures();
    // Without a catalogue "%n" alone would say "1 pictures".
    return count == 1 ? QCoreApplication::translate("Viewer", "1 picture")
                      : QCoreApplication::translate("Viewer", "%n pictures", nullptr, count);
}

QString noPicturesText(ScanProgress::Turn turn)
{
    switch (turn) {
    case ScanProgress::Turn::Awaited:
        return QCoreApplication::translate("Viewer", "pictures are being made");
    case ScanProgress::Turn::InVain:
        return noPictures();
    case ScanProgress::Turn::Unknown:
        break;
    }
    return QCoreApplication::translate("Viewer", "no pictures yet: click its device again later");
}

} // namespace quorvale
