#include "app/listdelegates.h"

#include "app/displaypath.h"

#include <QApplication>
#include <QStyle>

namespace quorvale {

namespace {

constexpr int kMeasuredLetters = 32; // of a title: they tell how high its letters are

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

QString TitleDelegate::displayText(const QVariant &value, const QLocale &locale) const
{
    QString title = QStyledItemDelegate::displayText(value, locale); // A new line has become a line separator.
    title.replace(QChar::LineSeparator, QLatin1Char(' '));
    title.replace(QChar::ParagraphSeparator, QLatin1Char(' '));
    return title;
}

QSize TitleDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    row.text.truncate(kMeasuredLetters);
    const QStyle *style = row.widget ? row.widget->style() : QApplication::style();
    return {0, style->sizeFromContents(QStyle::CT_ItemViewItem, &row, QSize(), row.widget).height()};
}

} // namespace quorvale
