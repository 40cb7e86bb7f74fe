#pragma once

#include <QFontMetrics>
#include <QStyledItemDelegate>

// How rows of the window's lists are painted that are wider than their list. What is stored on the items stays whole.

namespace quorvale {

/// `path` in at most `width` pixels: it loses the end of what comes before its last name. Where that name alone is too
/// wide, the whole loses its middle.
[[nodiscard]] QString elidedPath(const QString &path, const QFontMetrics &metrics, int width);

/// Rows of absolute paths. They read from left to right on every desktop.
class PathDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

/// Rows of titles, which are as wide as their list and no wider: none of them costs it a row for a scroll bar.
class TitleDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

} // namespace quorvale
