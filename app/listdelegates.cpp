#include "app/listdelegates.h"

#include "app/displaypath.h"

#include <QApplication>
#include <QStyle>

namespace quorvale {

namespace {

// The margin that a style leaves on either side of a row's text.
int textMargin(const QStyle &style, const QStyleOptionViewItem &option)
{
    return style.pixelMetric(QStyle::PM_FocusFrameHMargin, &option, option.widget) + 1;
}

} // namespace

QString elidedPath(const QString &path, const QFontMetrics &metrics, int width)
{
    if (metrics.horizontalAdvance(path) <= width)
        return path;
    const int separator = static_cast<int>(path.lastIndexOf(QLatin1Char('/')));
    if (separator <= 0)
        return metrics.elidedText(path, Qt::ElideMiddle, width);
    const QString name = path.mid(separator);
    const int left = width - metrics.horizontalAdvance(name);
    if (left < metrics.horizontalAdvance(QChar(0x2026)))
        return metrics.elidedText(name.mid(1), Qt::ElideMiddle, width);
    return metrics.elidedText(path.left(separator), Qt::ElideRight, left) + name;
}

void PathDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    if (row.direction == Qt::RightToLeft) {
        row.direction = Qt::LeftToRight;
        row.displayAlignment = Qt::AlignRight | Qt::AlignVCenter;
    }
    const QStyle *style = row.widget ? row.widget->style() : QApplication::style();
    const int room = style->subElementRect(QStyle::SE_ItemViewItemText, &row, row.widget).width();
    row.text = withNamesApart(elidedPath(row.text, row.fontMetrics, room - 2 * textMargin(*style, row)));
    style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);
}

QSize TitleDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {0, QStyledItemDelegate::sizeHint(option, index).height()};
}

} // namespace quorvale
