#include "thumbs/multiframethumb.h"

MultiFrameThumb::MultiFrameThumb(QWidget *parent)
    : QWidget(parent)
{
}

QSize MultiFrameThumb::minimumSizeHint() const
{
    return {64, 64};
}

void MultiFrameThumb::ClearThumbs()
{
    thumbs1x.clear();
    thumbs2x.clear();
    update();
}
