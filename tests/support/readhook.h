#pragma once

#include <QString>

#include <functional>

/// Comes between this process and its disk: a test learns of a read before it happens, and can make it fail.
///
/// `act` runs once, on the thread that reads, when reading enters the bytes from `begin` up to, not including, `end`
/// for the `entry`th time: before a read there that comes after a read elsewhere in the file. It may wait. It returns
/// 0, and reading goes on, or an error number, with which this and every later read of the file fails.
///
/// One hook at a time. It must outlive the threads that read the file, or their reading. Compile readhook.cpp into the
/// test's executable: its read() then takes the place of the system's in all libraries.
class ReadHook
{
public:
    ReadHook(const QString &path, qint64 begin, qint64 end, std::function<int()> act, int entry = 1);
    ~ReadHook();
    ReadHook(const ReadHook &) = delete;
    ReadHook &operator=(const ReadHook &) = delete;
};
