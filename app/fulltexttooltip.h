#pragma once

#include <QObject>
#include <QSet>

class QAbstractItemView;
class QLineEdit;
class QWidget;

namespace quorvale {

/// Shows a text that is wider than its place as a tool tip; texts that fit have none. Tips are plain text: markup from
/// a recorder's disk could name any file as a picture of the tip.
/// Nothing is stored on the items of a view: the tip is made when the pointer asks for it.
class FullTextToolTip : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void watch(QLineEdit *field);
    void watch(QAbstractItemView *view);
    /// Its rows are paths.
    void watchPaths(QAbstractItemView *view);
    /// Shows the tool tip that `widget` has, a path, as the text it is, with the widget's accessible description below.
    void showTipAndDescriptionOf(QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QSet<const QObject *> m_viewsOfPaths;
};

} // namespace quorvale
