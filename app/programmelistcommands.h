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

    QListWidget *m_list;
    RecordingOf m_recordingOf;
    std::optional<QPoint> m_dragFrom; ///< where the left button was pressed on a row and not released yet
};

} // namespace quorvale
