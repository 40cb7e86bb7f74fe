#pragma once

#include <QObject>
#include <QSet>

class QAbstractItemView;
class QLineEdit;
class QWidget;

namespace quorvale {

/// Shows a tool tip for each text that is wider than its place. Tips are plain text: markup from a recorder's disk
/// could name any file as a picture. Nothing is stored on the items of a view: a tip is made when it is shown.
class FullTextToolTip : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void watch(QLineEdit *field);
    void watch(QAbstractItemView *view);
    /// Its rows are paths.
    void watchPaths(QAbstractItemView *view);
    /// Shows the tool tip of `widget`, a path, as plain text, with the widget's accessible description below it.
    void showTipAndDescriptionOf(QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QSet<const QObject *> m_viewsOfPaths;
};

} // namespace quorvale
