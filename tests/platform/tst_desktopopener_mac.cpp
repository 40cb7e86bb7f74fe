#include "platform/desktopopener.h"
#include "platform/finder.h"

#include <QDesktopServices>
#include <QTest>
#include <QUrl>

namespace {
QByteArray shownInFinder;
} // namespace

// In place of finder_mac.mm.
void OpenFinderWindowAt(const char *path)
{
    shownInFinder = path;
}

/// The macOS source, which needs nothing of that system but the Finder.
class TestDesktopOpenerMac : public QObject
{
    Q_OBJECT

private:
    const QByteArray m_path = "/Volumes/DISK 1/DVR/100%25 #1 \xc3\xbc.ts";
    QUrl m_opened;
    bool m_failed = false;

    void openFile()
    {
        quorvale::openWithDesktop(m_path, this, [this] { m_failed = true; });
    }

public slots:
    void open(const QUrl &url) { m_opened = url; }

private slots:
    void init()
    {
        m_opened.clear();
        m_failed = false;
        QDesktopServices::setUrlHandler("file", this, "open");
    }
    void cleanup() { QDesktopServices::unsetUrlHandler("file"); }

    void aFile_isOpened_underItsOwnName()
    {
        openFile();
        QCOMPARE(m_opened.toLocalFile().toUtf8(), m_path);
        QVERIFY(!m_failed);
    }

    void aFile_thatNothingOpens_isAFailure()
    {
        QDesktopServices::unsetUrlHandler("file");
        openFile();
        QVERIFY(m_failed);
    }

    void aFile_isShownInTheFinder()
    {
        quorvale::showInFileManager(m_path, this, [this] { m_failed = true; });
        QCOMPARE(shownInFinder, m_path);
        QVERIFY(!m_failed);
    }
};

QTEST_MAIN(TestDesktopOpenerMac)
#include "tst_desktopopener_mac.moc"
