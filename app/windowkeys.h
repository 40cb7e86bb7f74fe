#pragma once

#include <QObject>

class MultiFrameThumb;
class QAbstractItemView;
class QMenuBar;
class QWidget;

// Keys for what only the mouse can do in the form. They change no text, entry or tab stop.

namespace quorvale {

/// Return, Enter and Space do once what a click on the current row does.
class ClickKeys : public QObject
{
    Q_OBJECT

public:
    /// `view` owns this.
    explicit ClickKeys(QAbstractItemView *view);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QAbstractItemView *m_view;
};

/// F10 opens the first menu of `menuBar` and closes it again. Alt+F opens it, too, in every language, unless a text of
/// the window names that key. Not for macOS, where the system has keys for its menu bar.
void addMenuKeys(QMenuBar &menuBar);

/// Ctrl+P, Pause and the media keys pause and resume `pictures`, wherever the focus is in `window`.
void addPauseKeys(QWidget &window, MultiFrameThumb &pictures);

} // namespace quorvale
