#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

/// The ffmpeg program's option that, with the value "passthrough", neither drops nor doubles a picture for the sake of
/// timestamps. It was renamed with version 5.1; the old name is gone in 9.0.
inline QString passthroughOption()
{
    static const QString option = [] {
        const QStringList nothing = {
            "-v",        "quiet",       "-nostdin", "-f",   "lavfi", "-i", "nullsrc=s=16x16:d=0.04",
            "-fps_mode", "passthrough", "-f",       "null", "-"};
        return QString(QProcess::execute("ffmpeg", nothing) == 0 ? "-fps_mode" : "-vsync");
    }();
    return option;
}
