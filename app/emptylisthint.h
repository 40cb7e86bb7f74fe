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

    /// Shows `text` from now on; an empty one shows nothing. Whoever fills the list sets an empty text.
    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] bool isShown() const;
    void paint() const;

    QAbstractItemView *m_view;
    QString m_text;
};

} // namespace quorvale
