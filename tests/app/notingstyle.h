#pragma once

#include <QList>
#include <QProxyStyle>
#include <QStyleOptionViewItem>

/// Records how the rows of views are painted, and which texts are measured for them.
class NotingStyle : public QProxyStyle
{
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        if (const auto *row = qstyleoption_cast<const QStyleOptionViewItem *>(option);
            row && element == CE_ItemViewItem)
            painted.append(*row);
        QProxyStyle::drawControl(element, option, painter, widget);
    }

    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override
    {
        if (const auto *row = qstyleoption_cast<const QStyleOptionViewItem *>(option); row && type == CT_ItemViewItem)
            measured.append(row->text);
        return QProxyStyle::sizeFromContents(type, option, size, widget);
    }

    mutable QList<QStyleOptionViewItem> painted;
    mutable QStringList measured;
};
