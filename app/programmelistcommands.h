#pragma once

#include "app/recordingcommands.h"

#include <QObject>
#include <QPoint>

#include <functional>
#include <optional>

class QContextMenuEvent;
class QListWidget;
class QMouseEvent;

namespace quorvale {

/// Commands of the programme list: a context menu, Return and a double click to play a programme, and dragging its
/// files out, for copying only. They do nothing in a row without a recording.
class ProgrammeListCommands : public QObject
{
    Q_OBJECT

public:
    using RecordingOf = std::function<std::optional<Recording>(int row)>;

    /// `list` owns this.
    ProgrammeListCommands(QListWidget *list, RecordingOf recordingOf);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] std::optional<Recording> recordingAt(const QPoint &place) const;
    bool handleKey(int key, bool repeated);
    bool handleMouse(const QMouseEvent &event);
    bool openMenu(const QContextMenuEvent &event, bool fromKeyboard);
    bool drag();

    struct Press
    {
        QPoint place;
        Recording recording; ///< The list may be scrolled until it is dragged.
    };

    QListWidget *m_list;
    RecordingOf m_recordingOf;
    std::optional<Press> m_press; ///< of the left button, on a row, and not released yet
};

} // namespace quorvale
