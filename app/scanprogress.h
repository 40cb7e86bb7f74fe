#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace quorvale {

/// What is known about the recordings of the latest scan, besides the pictures that have come.
class ScanProgress
{
public:
    enum class Turn {
        Unknown, ///< not in this scan; or it has had its turn, and may get pictures from another scan
        Awaited, ///< the scan that runs has not come by it yet
        InVain   ///< the scan came by it and got no picture
    };

    void start(const QStringList &files);
    /// A series has come, in the order of the files: those before it have had their turn, too.
    void cameBy(const QString &file, bool hasPictures);
    void finish();
    /// The disk has come back: what could not be read of it counts no more.
    void forgetFailures();

    [[nodiscard]] Turn turnOf(const QString &file) const;

private:
    QStringList m_awaited;
    QSet<QString> m_inVain;
};

} // namespace quorvale
