#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// What a program asked of the operating system, written down by strace.
namespace tracedcalls {

/// The words that run a program under strace, children included, with its calls written to `log`: put the program and
/// its arguments after them.
[[nodiscard]] QStringList command(const QString &log);

/// Empty when programs can be traced here; otherwise why not.
[[nodiscard]] QByteArray whyNot();

/// The calls in `log` about something below `folder` that are not known to leave it as it is. Failed ones count, too.
[[nodiscard]] QList<QByteArray> changingCalls(const QByteArray &log, const QByteArray &folder);

/// How many calls in `log` are about something below `folder`.
[[nodiscard]] int callsAbout(const QByteArray &log, const QByteArray &folder);

} // namespace tracedcalls
