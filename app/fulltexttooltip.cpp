#include "app/fulltexttooltip.h"

#include "app/displaypath.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QScreen>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QStyledItemDelegate>
#include <QTextDocument>
#include <QToolTip>

namespace quorvale {

namespace {

constexpr int kTextMargin = 2; // QLineEdit keeps it free on either side of its text.

bool isCutOff(const QLineEdit &field)
{
    QStyleOptionFrame option;
    option.initFrom(&field);
    option.lineWidth = field.style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &field);
    const int room = field.style()->subElementRect(QStyle::SE_LineEditContents, &option, &field).width();
    return field.fontMetrics().horizontalAdvance(field.text()) > room - 2 * kTextMargin;
}

bool isCutOff(const QAbstractItemView &view, const QModelIndex &index)
{
    const QRect shown = view.visualRect(index) & view.viewport()->rect();
    QStyleOptionViewItem option;
    option.initFrom(&view);
    option.widget = &view;
    // The view's own delegate may claim less than its text takes.
    return QStyledItemDelegate().sizeHint(option, index).width() > shown.width();
}

// Texts from a recorder's disk are shown as they are, not as markup.
bool showTip(const QHelpEvent &event, const QString &text, QWidget *widget, const QRect &area)
{
    QToolTip::showText(event.globalPos(), Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal), widget, area);
    return true;
}

bool fitsOnScreen(const QString &line, const QWidget &widget)
{
    const int width = QFontMetrics(QToolTip::font()).horizontalAdvance(line);
    return width < widget.screen()->availableGeometry().width() * 9 / 10; // The tip has margins and a frame.
}

// The path is the first line on screen, too, where that is wide enough, and the description the second.
bool showPathTip(const QHelpEvent &event, QWidget &widget)
{
    const QString description = widget.accessibleDescription();
    const QString text = description.isEmpty() ? pathInText(widget.toolTip())
                                               : pathInText(widget.toolTip()) + QLatin1Char('\n') + description;
    if (!fitsOnScreen(widget.toolTip(), widget))
        return showTip(event, text, &widget, widget.rect());
    const QString lines = QStringLiteral("<p style='white-space:pre'>%1</p>").arg(text.toHtmlEscaped());
    QToolTip::showText(event.globalPos(), lines, &widget, widget.rect());
    return true;
}

} // namespace

void FullTextToolTip::watch(QLineEdit *field)
{
    field->installEventFilter(this);
}

void FullTextToolTip::watch(QAbstractItemView *view)
{
    view->viewport()->installEventFilter(this);
}

void FullTextToolTip::watchPaths(QAbstractItemView *view)
{
    m_viewsOfPaths.insert(view);
    watch(view);
}

void FullTextToolTip::showTipAndDescriptionOf(QWidget *widget)
{
    widget->installEventFilter(this);
}

bool FullTextToolTip::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QObject::eventFilter(watched, event);
    const auto &help = static_cast<const QHelpEvent &>(*event);

    if (auto *field = qobject_cast<QLineEdit *>(watched))
        return isCutOff(*field) && showTip(help, field->text(), field, field->rect());

    if (auto *view = qobject_cast<QAbstractItemView *>(watched->parent())) {
        const QModelIndex index = view->indexAt(help.pos());
        if (!index.isValid() || !isCutOff(*view, index))
            return false;
        const QString text = index.data().toString();
        return showTip(help, m_viewsOfPaths.contains(view) ? pathInText(text) : text, view->viewport(),
                       view->visualRect(index));
    }
    auto *widget = qobject_cast<QWidget *>(watched);
    if (!widget || widget->toolTip().isEmpty())
        return false;
    return showPathTip(help, *widget);
}

} // namespace quorvale
