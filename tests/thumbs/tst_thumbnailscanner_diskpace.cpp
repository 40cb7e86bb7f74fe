#include "tests/support/faultydisk.h"
#include "tests/support/teststreams.h"
#include "tests/thumbs/scanrun.h"
#include "video/ffmpeg/readahead.h"

#include <QtTest>

#include <algorithm>
#include <map>
#include <mutex>

using namespace quorvale;

namespace {

constexpr std::int64_t kBytesAhead = ffmpeg::ReadAhead::kBytes;

/// All calls about a folder, in order, on whichever thread.
class CallLog
{
public:
    explicit CallLog(const QString &folder)
        : m_watch(folder.toStdString(), [this](const faultydisk::Call &call) {
            const std::lock_guard lock(m_mutex);
            m_calls.push_back(call);
            return 0;
        })
    {
    }
    [[nodiscard]] std::vector<faultydisk::Call> calls()
    {
        const std::lock_guard lock(m_mutex);
        return m_calls;
    }

private:
    std::mutex m_mutex;
    std::vector<faultydisk::Call> m_calls;
    faultydisk::Watch m_watch;
};

} // namespace

/// The order in which a scan reads, and what it tells the system of it.
class TestThumbnailScannerDiskPace : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QStringList files;

private slots:
    void initTestCase()
    {
        const QStringList encoder{"-c:v", "mpeg2video", "-q:v", "4", "-muxrate", "4M"};
        files = QStringList{makeStream(folder.path(), {"0.ts", encoder, 820}), folder.filePath("1.ts")};
        QVERIFY(QFile::copy(files.at(0), files.at(1)));
        QVERIFY(QFile(files.at(0)).size() > ffmpeg::ReadAhead::kBytesAtOpening + 4 * kBytesAhead);
    }

    void theSystem_isToldWhatWillBeRead_andNoMoreThanTheBoundAhead()
    {
        CallLog log(folder.path());
        QCOMPARE(runScan({files.at(0)}).series.at(0).large.size(), std::size_t(5));

        std::int64_t readUpTo = 0;
        std::int64_t toldUpTo = 0;
        std::int64_t told = 0;
        int tells = 0;
        for (const faultydisk::Call &call : log.calls()) {
            // Opening a file also looks at its end.
            if (call.what == faultydisk::What::Read && tells <= 1)
                readUpTo = call.offset + call.bytes;
            else if (call.what == faultydisk::What::Read)
                readUpTo = std::max(readUpTo, call.offset + call.bytes);
            if (call.what != faultydisk::What::Tell)
                continue;
            QVERIFY(call.offset >= toldUpTo); // nothing twice
            toldUpTo = call.offset + call.bytes;
            told += call.bytes;
            QVERIFY(toldUpTo > readUpTo);
            if (++tells == 1) // before it is known what the file holds
                QCOMPARE(toldUpTo, ffmpeg::ReadAhead::kBytesAtOpening);
            else
                QVERIFY(toldUpTo <= readUpTo + kBytesAhead);
        }
        const std::int64_t scanned = readUpTo;
        QVERIFY(scanned > ffmpeg::ReadAhead::kBytesAtOpening + 2 * kBytesAhead);
        QVERIFY(told >= scanned - kBytesAhead);
        QVERIFY2(tells <= 2 * scanned / kBytesAhead + 2, qPrintable(QString::number(tells)));
    }

    void nothingOfTheNextFile_isTouchedBeforeItsTurn()
    {
        ThumbnailScanner scanner;
        scanner.files = files;
        CallLog log(folder.path());
        std::map<QString, std::size_t> callsAt;
        connect(&scanner, &ThumbnailScanner::gotThumbs, this,
                [&](const QString &file) { callsAt[file] = log.calls().size(); });
        QCOMPARE(runScan(scanner).series.size(), std::size_t(2));
        const std::vector<faultydisk::Call> calls = log.calls();
        for (std::size_t i = 0; i < calls.size(); ++i) {
            const bool isFirstFile = i < callsAt[files.at(0)];
            QCOMPARE(QString::fromStdString(calls[i].path), files.at(isFirstFile ? 0 : 1));
        }
        QCOMPARE(calls.size(), callsAt[files.at(1)]); // and nothing afterwards
    }

    void aFile_isReadOnOneThread()
    {
        CallLog log(folder.path());
        QCOMPARE(runScan(files).series.size(), std::size_t(2));
        const std::vector<faultydisk::Call> calls = log.calls();
        QVERIFY(!calls.empty());
        // The scanner's, which is the main thread here. Those that decode touch no file.
        QVERIFY(
            std::all_of(calls.begin(), calls.end(), [](const faultydisk::Call &call) { return call.onMainThread; }));
    }
};

QTEST_MAIN(TestThumbnailScannerDiskPace)
#include "tst_thumbnailscanner_diskpace.moc"
