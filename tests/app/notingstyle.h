#pragma once

#include <QList>
#include <QProxyStyle>
#include <QStyleOptionViewItem>

/// Records how the rows of views are painted.
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

    mutable QList<QStyleOptionViewItem> painted;
};
