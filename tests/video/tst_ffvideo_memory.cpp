#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "video/ffvideo.h"

#include <QtTest>

#include <atomic>
#include <cstdlib>
#include <new>

// Every array that this process allocates is counted: planes, names, rows and samples are all of them arrays.
namespace {

std::atomic<long> liveArrays{0};

} // namespace

void *operator new[](std::size_t size)
{
    void *memory = std::malloc(size > 0 ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    ++liveArrays;
    return memory;
}

void operator delete[](void *memory) noexcept
{
    if (memory)
        --liveArrays;
    std::free(memory);
}

void operator delete[](void *memory, std::size_t) noexcept
{
    operator delete[](memory);
}

/// Who owns what, by counting the arrays that are alive.
class TestFFVideoMemory : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QByteArray path;
    QByteArray refused; // its pictures are not copied

    static long since(long before) { return liveArrays - before; }

private slots:
    void initTestCase()
    {
        // A memory checker that puts its own allocator in the place of this one counts for itself.
        const long before = liveArrays;
        KeyFrameTable table;
        InitialiseKFT(&table, "x", 1);
        const bool counted = since(before) == 2;
        ReleaseKFT(&table);
        if (!counted)
            QSKIP("another allocator is in charge");
        TestStream stream{"tone.ts", {"-c:v", "mpeg2video", "-bf", "0", "-c:a", "mp2"}, 50};
        stream.sound = true;
        path = QFile::encodeName(makeStream(folder.path(), stream));
        QVERIFY(!path.isEmpty());
        refused = QFile::encodeName(
            makeWithFFmpeg(folder.path(), "gray.nut",
                           {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=1", "-pix_fmt", "gray", "-c:v", "rawvideo"}));
        QVERIFY(!refused.isEmpty());
    }

    void reader_leavesNothing_whenItIsDestroyedOpen_orCannotOpen()
    {
        for (const bool isThere : {true, false}) {
            const long before = liveArrays;
            {
                FFVideo video;
                const char *name = isThere ? path.constData() : "/no/such/file.ts";
                QCOMPARE(video.Open(name, !isThere, FFVideo::FF_ACCESS_READ), isThere);
                QVERIFY(!isThere || since(before) == 2L); // the table's name and rows
            }
            QCOMPARE(since(before), 0L);
        }
    }

    void close_releasesTheTable()
    {
        const long before = liveArrays;
        FFVideo video;
        for (int round = 0; round < 3; ++round) {
            QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
            QVERIFY(video.Close());
            QCOMPARE(since(before), 0L);
        }
    }

    void read_allocatesItsPlanes_andNothingElse()
    {
        FFVideo video;
        QVERIFY(video.Open(path.constData(), false, FFVideo::FF_ACCESS_READ));
        const long before = liveArrays;
        for (const int number : {0, 1, 30, 2, 2}) {
            Picture picture;
            QVERIFY(video.Read(number, picture));
            QCOMPARE(since(before), 3L);
            picture.clear();
            QCOMPARE(since(before), 0L);
        }
    }

    void read_neverFreesWhatTheImageHeld()
    {
        FFVideo video;
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        const long before = liveArrays;
        BridgeImage image;
        QVERIFY(video.Read(0, image));
        const BridgeImage first = image;
        QVERIFY(video.Read(1, image));
        QCOMPARE(since(before), 6L);
        for (int plane = 0; plane < 3; ++plane) {
            delete[] first.data[plane];
            delete[] image.data[plane];
        }
        QCOMPARE(since(before), 0L);
    }

    void read_allocatesNothing_whenItFails()
    {
        FFVideo video;
        QVERIFY(video.Open(refused.constData(), false, FFVideo::FF_ACCESS_READ));
        const long before = liveArrays;
        Picture picture;
        for (const int number : {0, 3, -1, 1000}) {
            QVERIFY(!video.Read(number, picture));
            QCOMPARE(since(before), 0L);
        }
    }

    void table_isReleased_whenAnotherIsLoadedOrSet()
    {
        const QByteArray file = QFile::encodeName(folder.filePath("table.kft"));
        FFVideo video;
        QVERIFY(video.Open(path.constData(), false, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.SaveKeyTable(file.constData(), true));
        const long before = liveArrays;
        for (int round = 0; round < 3; ++round) {
            QVERIFY(video.LoadKeyTable(file.constData()));
            QCOMPARE(since(before), 0L);
            KeyFrameTable table;
            InitialiseKFT(&table, "x", 3);
            QVERIFY(video.SetKeyTable(&table));
            ReleaseKFT(&table);
            QCOMPARE(since(before), 0L);
        }
    }

    void sound_isOneArray_ownedByTheCaller()
    {
        FFVideo video;
        QVERIFY(video.Open(path.constData(), true, FFVideo::FF_ACCESS_READ));
        QVERIFY(video.SetAudioRange(0, 1));
        const long before = liveArrays;
        int status = 1;
        while (status == 1) {
            unsigned char *buffer = nullptr;
            int bytes = 0;
            int samples = 0;
            status = video.ReadAudioFrame(buffer, bytes, samples);
            QCOMPARE(since(before), 1L);
            delete[] buffer;
        }
        QCOMPARE(status, 3);
        QCOMPARE(since(before), 0L);
    }
};

QTEST_GUILESS_MAIN(TestFFVideoMemory)
#include "tst_ffvideo_memory.moc"
