#include "app/windowkeys.h"

#include "thumbs/multiframethumb.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>

#include <algorithm>

namespace quorvale {

namespace {

bool isClickKey(const QKeyEvent &key)
{
    const bool plain = (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    return plain && (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter || key.key() == Qt::Key_Space);
}

QShortcut *addKey(QWidget &window, const QKeySequence &keys)
{
    auto *shortcut = new QShortcut(keys, &window); // owned by the window or menu
    shortcut->setAutoRepeat(false);
    return shortcut;
}

// Whether a text in `window` names `keys`: two things with the same key would cancel each other.
bool isMnemonic(const QKeySequence &keys, const QWidget &window)
{
    QStringList texts;
    for (const auto *menu : window.findChildren<QMenu *>())
        texts.append(menu->title());
    for (const auto *label : window.findChildren<QLabel *>())
        texts.append(label->text());
    for (const auto *button : window.findChildren<QAbstractButton *>())
        texts.append(button->text());
    return std::any_of(texts.cbegin(), texts.cend(),
                       [&](const QString &text) { return QKeySequence::mnemonic(text) == keys; });
}

void openMenu(QMenu &menu, QMenuBar &menuBar)
{
    // If the desktop shows the menu elsewhere, the bar cannot open it.
    if (menuBar.isVisible() && !menuBar.isNativeMenuBar())
        menuBar.setActiveAction(menu.menuAction());
    else
        menu.popup(menuBar.window()->mapToGlobal(QPoint(0, 0)));
    menu.setActiveAction(menu.actions().value(0));
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
    const QAction *const first = menuBar.actions().value(0);
    QMenu *const menu = first ? first->menu() : nullptr;
    if (!menu)
        return;
    QWidget &window = *menuBar.window();
    for (const QKeySequence &keys : {QKeySequence(Qt::Key_F10), QKeySequence(Qt::ALT | Qt::Key_F)}) {
        if (!isMnemonic(keys, window))
            QObject::connect(addKey(window, keys), &QShortcut::activated, menu,
                             [=, &menuBar] { openMenu(*menu, menuBar); });
    }
    // While it is open, the window's own keys rest.
    QObject::connect(addKey(*menu, Qt::Key_F10), &QShortcut::activated, menu, &QMenu::close);
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
