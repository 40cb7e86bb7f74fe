#pragma once

#include <QApplication>
#include <QTimer>

#include <functional>

/// Waits for a modal dialog of class `Dialog` and hands it to `act`, once; until then it looks every few milliseconds.
/// Keep the object alive while the dialog is awaited.
template <typename Dialog>
class WhenModal
{
public:
    explicit WhenModal(std::function<void(Dialog &)> act)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, act = std::move(act)] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible())
                return;
            m_timer.stop();
            m_seen = true;
            act(*dialog);
        });
        m_timer.start(10);
    }

    [[nodiscard]] bool wasSeen() const { return m_seen; }

private:
    QTimer m_timer;
    bool m_seen = false;
};
