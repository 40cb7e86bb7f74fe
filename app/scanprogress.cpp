#include "app/scanprogress.h"

#include <utility>

namespace quorvale {

void ScanProgress::start(const QStringList &files)
{
    m_awaited = files;
    m_inVain.clear();
}

void ScanProgress::cameBy(const QString &file, bool hasPictures)
{
    const auto place = m_awaited.indexOf(file);
    for (int skipped = 0; skipped < place; ++skipped)
        m_inVain.insert(m_awaited.takeFirst());
    if (place >= 0)
        m_awaited.removeFirst();
    if (hasPictures)
        m_inVain.remove(file);
    else
        m_inVain.insert(file);
}

void ScanProgress::finish()
{
    for (const QString &file : std::as_const(m_awaited))
        m_inVain.insert(file);
    m_awaited.clear();
}

void ScanProgress::forgetFailures()
{
    m_inVain.clear();
}

ScanProgress::Turn ScanProgress::turnOf(const QString &file) const
{
    if (m_awaited.contains(file))
        return Turn::Awaited;
    return m_inVain.contains(file) ? Turn::InVain : Turn::Unknown;
}

} // namespace quorvale
