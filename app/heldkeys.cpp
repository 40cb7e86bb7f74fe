#include "app/heldkeys.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace quorvale {

HeldKeys::HeldKeys(QObject *owner)
    : QObject(owner)
{
    QCoreApplication::instance()->installEventFilter(this);
}

// An event comes by several times: once for each object on its way.
bool HeldKeys::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::KeyRelease && type != QEvent::ShortcutOverride && type != QEvent::KeyPress)
        return false;
    auto &key = static_cast<QKeyEvent &>(*event);
    if (type == QEvent::KeyRelease) {
        m_releasedKey = key.key();
        m_releaseTime = key.timestamp();
        return false;
    }
    // No finger presses a key again within the millisecond of its release.
    const bool isUnmarked = !key.isAutoRepeat() && key.key() == m_releasedKey && key.timestamp() == m_releaseTime;
    if (!isUnmarked || m_releaseTime == 0)
        return false;
    if (type == QEvent::ShortcutOverride) {
        key.accept(); // So it comes as a press.
        return true;
    }
    QKeyEvent repeat(type, key.key(), key.modifiers(), key.nativeScanCode(), key.nativeVirtualKey(),
                     key.nativeModifiers(), key.text(), true, static_cast<ushort>(key.count()));
    repeat.setTimestamp(key.timestamp());
    QCoreApplication::sendEvent(watched, &repeat);
    key.setAccepted(repeat.isAccepted());
    return true;
}

} // namespace quorvale
