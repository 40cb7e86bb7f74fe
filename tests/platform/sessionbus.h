#pragma once

#include <QProcess>
#include <QString>

/// A message bus of the test's own, with nothing on it: no service of this desktop can be reached or started.
class SessionBus
{
public:
    /// `folder` takes the bus's socket and configuration.
    explicit SessionBus(const QString &folder);
    ~SessionBus();

    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    /// False when the bus does not come up.
    bool start();
    void stop();

    /// The same before and after a restart.
    [[nodiscard]] QString address() const;

private:
    QString m_folder;
    QProcess m_daemon;
};
