#pragma once

#include <QStringList>

/// Looks one level below `mountPoint` for recorder disks.
///
/// A disk is a directory with a sub-directory named "DVR", in any case, and an index ("/DVR/RECSINFO/RECS.INF").
/// Gives their absolute paths in the order in which the file system lists them; hidden directories are passed over.
/// An empty `mountPoint` has nothing below it.
///
/// A directory that cannot be entered is reported with a line on stdout and leads the walk astray: it looks at its
/// current directory instead, and then goes up a level from there.
QStringList findArchives(const QString &mountPoint);
