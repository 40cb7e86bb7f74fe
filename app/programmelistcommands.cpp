#include "app/programmelistcommands.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDrag>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>

#include <utility>

namespace quorvale {

namespace {

QMenu *makeMenu(const Recording &recording, QWidget &window)
{
    auto *menu = new QMenu(&window); // deletes itself when it is closed
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *play = menu->addAction(QCoreApplication::translate("Viewer", "Play"), &window,
                                    [recording, &window] { playRecording(recording, window); });
    menu->setDefaultAction(play);
    menu->addAction(QCoreApplication::translate("Viewer", "Show in File Manager"), &window,
                    [recording, &window] { showRecording(recording, window); });
    QAction *copy = menu->addAction(QCoreApplication::translate("Viewer", "Copy Description"), &window,
                                    [recording] { QApplication::clipboard()->setText(plainDescription(recording)); });
    copy->setEnabled(!plainDescription(recording).isEmpty());
    return menu;
}

// Within the list, also where the row was scrolled away.
QPoint placeOfCurrentRow(const QListWidget &list)
{
    const QPoint row = list.visualItemRect(list.currentItem()).center();
    const QRect area = list.viewport()->rect();
    return {qBound(area.left(), row.x(), area.right()), qBound(area.top(), row.y(), area.bottom())};
}

} // namespace

ProgrammeListCommands::ProgrammeListCommands(QListWidget *list, RecordingOf recordingOf)
    : QObject(list)
    , m_list(list)
    , m_recordingOf(std::move(recordingOf))
{
    list->installEventFilter(this);
    list->viewport()->installEventFilter(this);
}

std::optional<Recording> ProgrammeListCommands::recordingAt(const QPoint &place) const
{
    const QModelIndex index = m_list->indexAt(place);
    return index.isValid() ? m_recordingOf(index.row()) : std::nullopt;
}

// Events of the pointer arrive at the viewport, those of keys at the list itself.
bool ProgrammeListCommands::eventFilter(QObject *watched, QEvent *event)
{
    const bool atList = watched == m_list;
    switch (event->type()) {
    case QEvent::KeyPress: {
        const auto &key = static_cast<const QKeyEvent &>(*event);
        const bool plain = (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
        return atList && plain && handleKey(key.key(), key.isAutoRepeat());
    }
    case QEvent::ContextMenu: {
        const auto &menu = static_cast<const QContextMenuEvent &>(*event);
        const bool fromKeyboard = menu.reason() == QContextMenuEvent::Keyboard;
        return atList == fromKeyboard && openMenu(menu, fromKeyboard);
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        return !atList && handleMouse(static_cast<const QMouseEvent &>(*event));
    default:
        return QObject::eventFilter(watched, event);
    }
}

bool ProgrammeListCommands::handleKey(int key, bool repeated)
{
    if (key != Qt::Key_Return && key != Qt::Key_Enter)
        return false;
    const std::optional<Recording> recording = m_recordingOf(m_list->currentRow());
    if (recording && !repeated)
        playRecording(*recording, *m_list->window());
    return recording.has_value();
}

bool ProgrammeListCommands::openMenu(const QContextMenuEvent &event, bool fromKeyboard)
{
    const QPoint place = fromKeyboard ? placeOfCurrentRow(*m_list) : event.pos();
    const std::optional<Recording> recording = fromKeyboard ? m_recordingOf(m_list->currentRow()) : recordingAt(place);
    if (!recording)
        return false;
    makeMenu(*recording, *m_list->window())->popup(m_list->viewport()->mapToGlobal(place));
    return true;
}

bool ProgrammeListCommands::handleMouse(const QMouseEvent &event)
{
    switch (event.type()) {
    case QEvent::MouseButtonDblClick:
        if (const auto recording = recordingAt(event.pos()); recording && event.button() == Qt::LeftButton)
            playRecording(*recording, *m_list->window());
        return false;
    case QEvent::MouseButtonPress:
        m_press.reset();
        if (const auto recording = recordingAt(event.pos()); recording && event.button() == Qt::LeftButton)
            m_press = Press{event.pos(), *recording};
        return false;
    case QEvent::MouseMove:
        if (!m_press || !(event.buttons() & Qt::LeftButton))
            return false;
        // The list itself would select the rows that the pointer crosses.
        return (event.pos() - m_press->place).manhattanLength() < QApplication::startDragDistance() || drag();
    default:
        m_press.reset();
        return false;
    }
}

bool ProgrammeListCommands::drag()
{
    const Press press = *std::exchange(m_press, std::nullopt);
    QMimeData *files = recordingFiles(press.recording);
    if (!files)
        return false;
    auto *drag = new QDrag(m_list); // deletes itself, and the data with it
    drag->setMimeData(files);
    const QRect row = m_list->visualItemRect(m_list->currentItem()) & m_list->viewport()->rect();
    if (row.contains(press.place)) { // not scrolled since
        drag->setPixmap(m_list->viewport()->grab(row));
        drag->setHotSpot(press.place - row.topLeft());
    }
    drag->exec(Qt::CopyAction);
    return true;
}

} // namespace quorvale
