#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <unistd.h>

#include <cstdio>

/// While it lives, what the process writes to its standard error stream goes into a file instead.
class StderrCapture
{
public:
    StderrCapture()
        : m_original(dup(STDERR_FILENO))
    {
        std::fflush(stderr);
        m_captures = m_original >= 0 && m_file.open() && dup2(m_file.handle(), STDERR_FILENO) >= 0;
    }

    ~StderrCapture()
    {
        restore();
        if (m_original >= 0)
            close(m_original);
    }

    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;

    /// Ends the capture and gives what was written.
    QByteArray take()
    {
        if (!m_captures)
            return "the standard error stream could not be captured";
        restore();
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    void restore()
    {
        std::fflush(stderr);
        if (m_captures)
            dup2(m_original, STDERR_FILENO);
        m_captures = false;
    }

    int m_original;
    QTemporaryFile m_file;
    bool m_captures = false;
};
