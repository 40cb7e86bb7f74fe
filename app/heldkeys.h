#pragma once

#include <QObject>

namespace quorvale {

/// While it lives, each press that a held key repeats says so (QKeyEvent::isAutoRepeat()), and no shortcut is tried for
/// it. On X11 a repeat is a release and a press, and Qt marks them only if the press has already arrived when the
/// release is handled.
class HeldKeys : public QObject
{
    Q_OBJECT

public:
    /// Watches the whole application; `owner` owns this.
    explicit HeldKeys(QObject *owner);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int m_releasedKey = 0;
    unsigned long m_releaseTime = 0; ///< as Qt's events have it; 0 if it is not known
};

} // namespace quorvale
