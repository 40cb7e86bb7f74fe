#pragma once

#include <QObject>
#include <QString>

class QAbstractItemView;

namespace quorvale {

/// What a list says while it has no row: painted in its empty area, read out as the list's description, and shown as a
/// tool tip if it has no room. The list gets no item.
class EmptyListHint : public QObject
{
    Q_OBJECT

public:
    /// `view` owns this.
    explicit EmptyListHint(QAbstractItemView *view);

    /// Shows `text` from now on, whenever there is no row; an empty one shows nothing.
    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] bool isShown() const;
    void describe() const;
    void paint() const;

    QAbstractItemView *m_view; ///< null once it is being destroyed, when its model still says that rows go
    QString m_text;
};

} // namespace quorvale
