#include "app/descriptiondocument.h"

#include <QImage>
#include <QVariant>

namespace quorvale {

QVariant DescriptionDocument::loadResource(int type, const QUrl &)
{
    if (type != ImageResource)
        return {};
    // Without any picture Qt would look for a file itself.
    QImage nothing(1, 1, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    return nothing;
}

} // namespace quorvale
