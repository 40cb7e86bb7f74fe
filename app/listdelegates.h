#pragma once

#include <QFontMetrics>
#include <QStyledItemDelegate>

// Painting rows that are wider than their list. The items keep the whole texts.

namespace quorvale {

/// `path` shortened to at most `width` pixels: before its last name, or, if that name alone is too wide, to that name
/// without its middle.
[[nodiscard]] QString elidedPath(const QString &path, const QFontMetrics &metrics, int width);

/// Rows of absolute paths. They read from left to right on every desktop.
class PathDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

/// Rows of titles: one line each, whatever a title holds, and never wider than their list, so that the list needs no
/// horizontal scroll bar. A list measures all of its rows before it shows the first, so little of a title is measured.
class TitleDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    [[nodiscard]] QString displayText(const QVariant &value, const QLocale &locale) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace quorvale
