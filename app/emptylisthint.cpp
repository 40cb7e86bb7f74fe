#include "app/emptylisthint.h"

#include <QAbstractItemView>
#include <QAbstractTextDocumentLayout>
#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

#include <algorithm>

namespace quorvale {

namespace {

// A path has 4,096 at most. Settings could hold any text, which would be laid out whenever the list is painted.
constexpr int kMostLetters = 5000;

// `text`, in which no line may end within a path.
QString withWholePaths(const QString &text)
{
    constexpr char16_t kWordJoiner = 0x2060;
    return QString(text).replace(QLatin1Char('/'), QLatin1Char('/') + QString(QChar(kWordJoiner)));
}

} // namespace

EmptyListHint::EmptyListHint(QAbstractItemView *view)
    : QObject(view)
    , m_view(view)
{
    view->viewport()->installEventFilter(this);
    // Comes before the view's children, this and the model, are deleted.
    connect(view, &QObject::destroyed, this, [this] { m_view = nullptr; });
    const QAbstractItemModel *rows = view->model();
    connect(rows, &QAbstractItemModel::rowsInserted, this, &EmptyListHint::describe);
    connect(rows, &QAbstractItemModel::rowsRemoved, this, &EmptyListHint::describe);
    connect(rows, &QAbstractItemModel::modelReset, this, &EmptyListHint::describe);
}

void EmptyListHint::setText(const QString &text)
{
    m_text = text.left(kMostLetters);
    describe();
    m_view->viewport()->update();
}

void EmptyListHint::describe() const
{
    if (m_view)
        m_view->setAccessibleDescription(isShown() ? m_text : QString());
}

bool EmptyListHint::isShown() const
{
    return !m_text.isEmpty() && m_view->model()->rowCount() == 0;
}

// A view without rows paints nothing itself, so it does not matter that this comes first.
bool EmptyListHint::eventFilter(QObject *watched, QEvent *event)
{
    // The type is tested first: other events also come while the view is being destroyed and is no longer a view.
    if (event->type() == QEvent::Paint && isShown())
        paint();
    if (event->type() == QEvent::ToolTip && isShown()) {
        const auto &help = static_cast<const QHelpEvent &>(*event);
        QToolTip::showText(help.globalPos(), Qt::convertFromPlainText(m_text, Qt::WhiteSpaceNormal), m_view);
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void EmptyListHint::paint() const
{
    QWidget *area = m_view->viewport();
    QTextOption wrapping(Qt::AlignHCenter);
    wrapping.setWrapMode(QTextOption::WordWrap);
    wrapping.setTextDirection(m_view->layoutDirection());

    QTextDocument text;
    text.setDefaultFont(m_view->font());
    text.setDefaultTextOption(wrapping);
    text.setPlainText(withWholePaths(m_text));
    text.setTextWidth(area->width());
    if (text.idealWidth() > area->width()) {
        // A path is wider than the list, and its end counts.
        wrapping.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        text.setDefaultTextOption(wrapping);
        text.setPlainText(m_text);
        text.setTextWidth(area->width());
    }

    QAbstractTextDocumentLayout::PaintContext context;
    context.palette = m_view->palette();
    QPainter painter(area);
    painter.translate(0, std::max(0.0, (area->height() - text.size().height()) / 2));
    text.documentLayout()->draw(&painter, context);
}

} // namespace quorvale
