#include "app/descriptiondocument.h"

#include <QImage>
#include <QUrl>
#include <QVariant>

QVariant DescriptionDocument::loadResource(int type, const QUrl &name)
{
    // Pictures that stand in the text itself, and the program's own, need no file.
    if (name.scheme() == QLatin1String("data") || name.scheme() == QLatin1String("qrc"))
        return QTextDocument::loadResource(type, name);
    if (type != ImageResource)
        return {};
    // Without any picture the toolkit would look for a file itself.
    QImage nothing(1, 1, QImage::Format_ARGB32_Premultiplied);
    nothing.fill(Qt::transparent);
    return nothing;
}
