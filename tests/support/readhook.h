#pragma once

#include <QString>

#include <functional>

/// Stands between this process and its disk: a test learns of a read before it happens, and can make it fail.
///
/// `act` runs once, on the thread that reads, before the first read of the file that begins at a byte from `begin` up
/// to, not including, `end`, and may do what it likes, waiting included. It returns 0, and the file is read on as if
/// nothing had been, or an error number, and from then on every read of the file fails with it.
///
/// One hook at a time. It must outlive the threads that read the file, or their reading. Compile readhook.cpp into the
/// test's executable: its read() then takes the place of the system's in all libraries.
class ReadHook
{
public:
    ReadHook(const QString &path, qint64 begin, qint64 end, std::function<int()> act);
    ~ReadHook();
    ReadHook(const ReadHook &) = delete;
    ReadHook &operator=(const ReadHook &) = delete;
};
