#include "platform/desktopopener.h"

#include "platform/finder.h"

#include <QDesktopServices>
#include <QFile>
#include <QUrl>

namespace quorvale {

void openWithDesktop(const QByteArray &path, QObject * /*context*/, std::function<void()> failed)
{
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(QFile::decodeName(path))) && failed)
        failed();
}

// The Finder is always there.
void showInFileManager(const QByteArray &path, QObject * /*context*/, std::function<void()> /*failed*/)
{
    OpenFinderWindowAt(path.constData());
}

} // namespace quorvale
