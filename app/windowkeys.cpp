#include "app/windowkeys.h"

#include "thumbs/multiframethumb.h"

#include <QAbstractItemView>
#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>

namespace quorvale {

namespace {

bool isClickKey(const QKeyEvent &key)
{
    const bool plain = (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    return plain && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter || key.key() == Qt::Key_Space);
}

QShortcut *addKey(QWidget &window, const QKeySequence &keys)
{
    auto *shortcut = new QShortcut(keys, &window); // owned by the window
    shortcut->setAutoRepeat(false);
    return shortcut;
}

void openFirstMenu(QMenuBar &menuBar)
{
    QAction *const first = menuBar.actions().value(0);
    QMenu *const menu = first ? first->menu() : nullptr;
    if (!menu)
        return;
    // If the desktop shows the menu elsewhere, the bar cannot open it.
    if (menuBar.isVisible() && !menuBar.isNativeMenuBar())
        menuBar.setActiveAction(first);
    else
        menu->popup(menuBar.window()->mapToGlobal(QPoint(0, 0)));
    menu->setActiveAction(menu->actions().value(0));
}

} // namespace

ClickKeys::ClickKeys(QAbstractItemView *view)
    : QObject(view)
    , m_view(view)
{
    view->installEventFilter(this);
}

// Not through itemActivated(), which on some desktops a click raises, too.
bool ClickKeys::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || !isClickKey(static_cast<const QKeyEvent &>(*event)))
        return QObject::eventFilter(watched, event);
    const QModelIndex row = m_view->currentIndex();
    if (!row.isValid())
        return QObject::eventFilter(watched, event);
    if (!static_cast<const QKeyEvent &>(*event).isAutoRepeat()) {
        m_view->setCurrentIndex(row); // selects it, too
        Q_EMIT m_view->clicked(row);
    }
    return true;
}

void addMenuKeys(QMenuBar &menuBar)
{
    QWidget &window = *menuBar.window();
    const auto opens = [&menuBar] { openFirstMenu(menuBar); };
    QObject::connect(addKey(window, Qt::Key_F10), &QShortcut::activated, &menuBar, opens);

    const QAction *const first = menuBar.actions().value(0);
    if (!first || first->text().isEmpty() || !QKeySequence::mnemonic(first->text()).isEmpty())
        return;
    const QKeySequence letter(QStringLiteral("Alt+") + first->text().at(0).toUpper());
    QObject::connect(addKey(window, letter), &QShortcut::activated, &menuBar, opens);
}

void addPauseKeys(QWidget &window, MultiFrameThumb &pictures)
{
    const QKeySequence keys[] = {QKeySequence(Qt::CTRL | Qt::Key_P), QKeySequence(Qt::Key_Pause),
                                 QKeySequence(Qt::Key_MediaPlay), QKeySequence(Qt::Key_MediaPause),
                                 QKeySequence(Qt::Key_MediaTogglePlayPause)};
    for (const QKeySequence &key : keys)
        QObject::connect(addKey(window, key), &QShortcut::activated, &pictures, &MultiFrameThumb::togglePause);
}

} // namespace quorvale
