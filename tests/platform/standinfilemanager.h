#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>

/// Stands in for the desktop's file manager on a bus: keeps every message that reaches it, whatever it is, and answers
/// when told to. The test ends at once where it cannot take the name.
class StandInFileManager : public QDBusVirtualObject
{
    Q_OBJECT

public:
    explicit StandInFileManager(const QString &busAddress);
    ~StandInFileManager() override;

    /// Answers message `index` of `received`: "done", or an error.
    void answer(int index) { m_bus.send(received.at(index).createReply()); }
    void answerWithError(int index)
    {
        m_bus.send(received.at(index).createErrorReply(QDBusError::Failed, QStringLiteral("cannot")));
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    QList<QDBusMessage> received;

private:
    QString m_name;
    QDBusConnection m_bus;
};
