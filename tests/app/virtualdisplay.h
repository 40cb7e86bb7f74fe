#pragma once

#include <QByteArray>
#include <QImage>
#include <QProcess>
#include <QString>
#include <QStringList>

/// A display for a program under test, with a mouse, a keyboard and screenshots: Xvfb, xdotool and ImageMagick.
/// Needs an application object.
class VirtualDisplay
{
public:
    ~VirtualDisplay();

    /// Empty when the display is there; otherwise what is missing.
    QString start();

    /// The display's name, as programs want it in DISPLAY.
    [[nodiscard]] QString name() const { return m_name; }

    /// The visible window of this title; empty if there is none.
    [[nodiscard]] QByteArray window(const QString &title) const;
    /// The visible window of a program of this class, by which a desktop finds the menu entry that it belongs to.
    [[nodiscard]] QByteArray windowOfClass(const QString &programClass) const;
    /// What can be seen of a window.
    [[nodiscard]] QImage picture(const QByteArray &window) const;
    /// Clicks once at a place of the window and moves the mouse away, so that no tool tip covers anything. False if
    /// that failed.
    [[nodiscard]] bool click(const QByteArray &window, QPoint place) const;
    /// Gives a window the focus, which nobody else does here, and presses a key in it.
    [[nodiscard]] bool press(const QByteArray &window, const QString &key) const;
    /// The same, and keeps the key down for so long; the display repeats it.
    [[nodiscard]] bool hold(const QByteArray &window, const QString &key, int milliseconds) const;

private:
    [[nodiscard]] QByteArray run(const QString &program, const QStringList &arguments, bool *succeeded = nullptr) const;

    QProcess m_server;
    QString m_name;
};
