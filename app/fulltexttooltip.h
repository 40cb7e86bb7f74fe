#pragma once

#include <QObject>

class QAbstractItemView;
class QLineEdit;

/// Shows a text that is wider than its place as a tool tip; texts that fit have none.
/// Nothing is stored on the items of a view: the tip is made when the pointer asks for it.
class FullTextToolTip : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void watch(QLineEdit *field);
    void watch(QAbstractItemView *view);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
