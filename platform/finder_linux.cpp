#include "platform/finder.h"

#include "platform/desktopopener.h"
#include "platform/filemanager_linux.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>

#include <cstdio>
#include <utility>

using namespace quorvale;

namespace {

/// The thread that talks to the file manager, so that the window never waits for a slow bus.
/// Made at the first request, ends with the application object. Used from the main thread only.
class FileManagerThread
{
public:
    static FileManagerThread &instance()
    {
        if (!s_instance) {
            s_instance = new FileManagerThread; // owned by end()
            qAddPostRoutine(end);
        }
        return *s_instance;
    }

    /// `failed` is called on the file manager's thread.
    void show(const QByteArray &path, const std::function<void()> &failed)
    {
        FileManager *fileManager = m_fileManager;
        QMetaObject::invokeMethod(
            fileManager, [fileManager, path, failed] { fileManager->show(path, failed); }, Qt::QueuedConnection);
    }

private:
    FileManagerThread()
    {
        m_thread.setObjectName(QStringLiteral("Quorvale-FileManager"));
        m_fileManager->moveToThread(&m_thread);
        QObject::connect(&m_thread, &QThread::finished, m_fileManager, &QObject::deleteLater);
        m_thread.start();
    }

    /// Waits for a connection to the bus that is being made, at most 25 seconds, and not for the file manager's
    /// answers. The window is gone by then.
    ~FileManagerThread()
    {
        m_thread.quit();
        m_thread.wait();
    }

    static void end() { delete std::exchange(s_instance, nullptr); }

    inline static FileManagerThread *s_instance = nullptr;

    QThread m_thread;
    FileManager *m_fileManager = new FileManager; // owned by the thread, which deletes it as it finishes
};

} // namespace

void OpenFinderWindowAt(const char *path)
{
    FileManagerThread::instance().show(path, {});
    std::fprintf(stderr, "Opening file %s\n", path);
}

namespace quorvale {

void showInFileManager(const QByteArray &path, QObject *context, std::function<void()> failed)
{
    const auto onMainThread = [context = QPointer<QObject>(context), failed = std::move(failed)] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [context, failed] {
                if (context)
                    failed();
            },
            Qt::QueuedConnection);
    };
    FileManagerThread::instance().show(path, onMainThread);
    std::fprintf(stderr, "Opening file %s\n", path.constData());
}

} // namespace quorvale
