#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryFile>

#include <cstdio>

#include <unistd.h>

/// Catches what the process writes to one of its standard streams while the object lives.
class CapturedOutput
{
public:
    explicit CapturedOutput(std::FILE *stream)
        : m_stream(stream)
    {
        std::fflush(m_stream);
        m_saved = ::dup(::fileno(m_stream));
        if (m_file.open())
            ::dup2(m_file.handle(), ::fileno(m_stream));
    }
    ~CapturedOutput() { stop(); }
    CapturedOutput(const CapturedOutput &) = delete;
    CapturedOutput &operator=(const CapturedOutput &) = delete;

    /// Ends the capture and gives what was written.
    [[nodiscard]] QByteArray text()
    {
        stop();
        QFile written(m_file.fileName());
        return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray("the captured output is gone");
    }

private:
    void stop()
    {
        if (m_saved < 0)
            return;
        std::fflush(m_stream);
        ::dup2(m_saved, ::fileno(m_stream));
        ::close(m_saved);
        m_saved = -1;
    }

    std::FILE *m_stream;
    QTemporaryFile m_file;
    int m_saved = -1;
};
