#pragma once

#include "tests/app/virtualdisplay.h"

#include <QProcess>
#include <QRect>
#include <QTemporaryDir>

#include <optional>
#include <vector>

/// The places of widgets in the program's window when it opens, measured on a window of this process.
struct WindowLayout
{
    QSize window;
    QRect pictures;              ///< the ring, or the pictures, which may leave room above and below
    QRect time;                  ///< the field for the time, which takes the focus
    std::vector<QPoint> rows;    ///< of the programme list
    std::vector<QPoint> devices; ///< of the device list

    static WindowLayout measure();
};

/// The program itself, running on a virtual display with settings of its own. It is ended with the object.
class ProgramRun
{
public:
    ProgramRun(const VirtualDisplay &display, const WindowLayout &layout);
    ~ProgramRun();

    /// Starts the program and waits for its window. A recording that is a pipe hangs it, as one on a disk that does not
    /// answer would (tests/support/waitingopen.cpp). Empty when that is there; otherwise what went wrong.
    /// `dotsPerInch`: what the desktop says of its screen, if it says anything.
    QString start(const QString &mountPoint, std::optional<int> dotsPerInch = std::nullopt);

    [[nodiscard]] QImage look() const { return m_display.picture(m_window); }
    [[nodiscard]] bool click(QPoint place) const { return m_display.click(m_window, place); }
    [[nodiscard]] bool hold(const QString &key, int milliseconds) const
    {
        return m_display.hold(m_window, key, milliseconds);
    }
    [[nodiscard]] bool quit() const { return m_display.press(m_window, QStringLiteral("ctrl+q")); }
    /// What the program asked the desktop to open, a line each.
    [[nodiscard]] QByteArray opened() const;
    /// Waits for the end, for half a minute at most; nothing if it did not end, or crashed.
    std::optional<int> exitCode();

    [[nodiscard]] bool isRunning() const { return m_process.state() == QProcess::Running; }
    /// What the program has written to its standard error so far.
    QByteArray said();
    /// How many threads for thumbnails it has, idle ones included.
    [[nodiscard]] int scanThreads() const;
    /// How many descriptors it may have, and could have: "256 of 4096".
    [[nodiscard]] QByteArray descriptorLimit() const;
    /// The settings file's text.
    [[nodiscard]] QByteArray settings() const;

    /// Whether the ring stands where the pictures will.
    [[nodiscard]] bool showsRing(const QImage &look) const;
    /// The pixels of the place where the pictures are.
    [[nodiscard]] QImage picture(const QImage &look) const;
    /// The number in the picture that is shown; nothing if there is none.
    [[nodiscard]] std::optional<unsigned> shownNumber(const QImage &look) const;

private:
    const VirtualDisplay &m_display;
    const WindowLayout &m_layout;
    QTemporaryDir m_folder;
    QProcess m_process;
    QByteArray m_window;
    QByteArray m_said;
};
