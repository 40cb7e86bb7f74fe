#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <cstdio>
#include <unistd.h>

/// Collects what the process writes to its standard error while the object lives.
class StderrCapture
{
public:
    StderrCapture()
    {
        std::fflush(stderr);
        saved = dup(STDERR_FILENO);
        if (file.open())
            dup2(file.handle(), STDERR_FILENO);
    }
    ~StderrCapture() { restore(); }
    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;

    /// What was written. Collecting ends here.
    [[nodiscard]] QByteArray text()
    {
        restore();
        file.seek(0);
        return file.readAll();
    }

private:
    void restore()
    {
        if (saved < 0)
            return;
        std::fflush(stderr);
        dup2(saved, STDERR_FILENO);
        close(saved);
        saved = -1;
    }

    QTemporaryFile file;
    int saved = -1;
};
