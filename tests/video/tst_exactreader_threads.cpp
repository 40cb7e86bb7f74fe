// Comes between the process and the threads that it starts, its memory, and the pictures of its decoders. Linux only.

#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "tests/video/streamset.h"
#include "video/exact/exactreader.h"
#include "video/ffmpeg/compat.h"

#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include <dlfcn.h>
#include <pthread.h>

namespace {

using quorvale::ExactReader;

constexpr int kAny = 1000;
std::atomic<int> started{0};
std::atomic<int> allowed{kAny}; // The test library has a thread, too.

// Where it is true, the next thread begins only when it may, and who started it gets no memory the next time.
bool isLate = false;
QSemaphore mayBegin;
std::pair<void *(*)(void *), void *> lateWork;
thread_local bool lacksMemory = false;

void *beginLate(void * /*unused*/)
{
    mayBegin.acquire();
    return lateWork.first(lateWork.second);
}

// Decoders lose pictures with these times: all, or those inside of which decoding can begin.
std::atomic<std::int64_t> lostFrom{std::numeric_limits<std::int64_t>::max()};
std::atomic<bool> losesAll{false};
std::atomic<std::int64_t> latest{0}; // of the times of pictures that came out

} // namespace

void *operator new(std::size_t size)
{
    void *memory = std::exchange(lacksMemory, false) ? nullptr : std::malloc(size > 0 ? size : 1);
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

void *operator new(std::size_t size, const std::nothrow_t & /*unused*/) noexcept
{
    return std::malloc(size > 0 ? size : 1);
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t /*unused*/) noexcept
{
    std::free(memory);
}

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *),
                              void *argument) noexcept
{
    using Create = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    static const auto create = reinterpret_cast<Create *>(dlsym(RTLD_NEXT, "pthread_create"));
    if (started == allowed)
        return EAGAIN;
    ++started;
    if (!std::exchange(isLate, false))
        return create(thread, attributes, function, argument);
    lateWork = {function, argument};
    lacksMemory = true;
    return create(thread, attributes, beginLate, nullptr);
}

extern "C" int avcodec_receive_frame(AVCodecContext *decoder, AVFrame *frame)
{
    using Receive = int(AVCodecContext *, AVFrame *);
    static const auto receive = reinterpret_cast<Receive *>(dlsym(RTLD_NEXT, "avcodec_receive_frame"));
    for (;;) {
        const int status = receive(decoder, frame);
        if (status == 0)
            latest = std::max(latest.load(), frame->pts);
        if (status < 0 || frame->pts < lostFrom || (frame->pict_type != AV_PICTURE_TYPE_I && !losesAll))
            return status;
    }
}

/// How many threads pictures are decoded on, what happens where the system gives fewer, or no memory while one decodes,
/// and where a decoder loses pictures.
class TestExactReaderThreads : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString path;
    QString inexact;
    QString afterIdr; // the same after an IDR picture

    // Five pictures, announced to a reader that may decode `processors` at once; the threads that it started.
    void read(int processors, int threads)
    {
        const LiteralPictures pictures(path);
        started = 0;
        allowed = threads;
        const ExactComparison result = compareExactly(pictures, {50, 110, 170, 230, 290}, processors);
        allowed = kAny;
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 5);
    }

private slots:
    void initTestCase()
    {
        path = makeStream(folder.path(),
                          {"h264.ts", {"-c:v", "libx264", "-preset", "veryfast", "-g", "24"}, 330, {160, 128}});
        QVERIFY(!path.isEmpty());
        const QStringList open{"-c:v", "libx264", "-preset", "veryfast",     "-g",
                               "24",   "-bf",     "3",       "-x264-params", "open-gop=1"};
        const QString groups = makeStream(folder.path(), {"open.ts", open, 330, {160, 128}});
        inexact = makeInexactStream(folder.path(), groups);
        afterIdr = makeInexactStream(folder.path(), groups, true);
    }

    void threads_areAsManyAsProcessors_andNoMoreThanPictures()
    {
        for (const auto &[processors, threads] : {std::pair(1, 1), std::pair(2, 2), std::pair(8, 5)}) {
            read(processors, kAny);
            QCOMPARE(int(started), threads);
        }
    }

    void pictures_areRead_whereTheSystemGivesFewerThreads()
    {
        for (const int threads : {0, 1, 2}) {
            read(4, threads);
            QCOMPARE(int(started), threads);
        }
    }

    // Where the owner has no thread, it runs all that wait until the wanted one has run.
    void ofPicturesThatWait_theLongestRunIsNext()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        ExactReader reader(video, 2);
        reader.announce({218, 278}); // after key pictures 216 and 264
        const std::int64_t start = video.frame->pts;
        latest = 0;
        allowed = started.load();
        Picture picture;
        const ExactReader::Answer answer = reader.read(218, picture);
        allowed = kAny;
        QCOMPARE(answer, ExactReader::Answer::Picture);
        QVERIFY(latest >= start + std::int64_t{278} * 3600);
    }

    // Decoded ahead, or for a restart test; the asking thread is without memory right after that was begun.
    void missingMemory_takesNothingFromAThread()
    {
        for (const bool isAnnounced : {true, false}) {
            FFVideo video;
            QVERIFY(open(video, isAnnounced ? path : inexact));
            ExactReader reader(video, 1);
            if (isAnnounced)
                reader.announce({290});
            isLate = true;
            Picture picture;
            QVERIFY_EXCEPTION_THROWN(reader.read(290, picture), std::bad_alloc);
            QVERIFY(!isLate);
            mayBegin.release();
            QCOMPARE(reader.read(290, picture), ExactReader::Answer::Picture); // after what was begun
            Picture expected;
            QVERIFY(video.Read(290, expected));
            QCOMPARE(checksum(picture, video.frame->format), checksum(expected, video.frame->format));
        }
    }

    void aRestartTest_isBounded_whereItsPictureDoesNotComeOut()
    {
        for (const bool all : {false, true}) {
            FFVideo video;
            QVERIFY(open(video, inexact));
            ExactReader reader(video, 1);
            losesAll = all;
            lostFrom = video.frame->pts + std::int64_t{20} * 3600; // after the proof
            Picture picture;
            const ExactReader::Answer answer = reader.read(290, picture);
            lostFrom = std::numeric_limits<std::int64_t>::max();
            // The decoder that began with the file goes on, to the picture or to the end.
            QCOMPARE(answer, all ? ExactReader::Answer::PastEnd : ExactReader::Answer::Picture);
            QVERIFY2(reader.counters().picturesDecoded <= (all ? 384 : 296) + 16,
                     qPrintable(QString::number(reader.counters().picturesDecoded)));
        }
    }

    void aRestartTestThatFails_isFollowedByNoRun()
    {
        FFVideo video;
        QVERIFY(open(video, afterIdr));
        ExactReader reader(video, 1);
        losesAll = false;
        lostFrom = video.frame->pts + std::int64_t{20} * 3600; // after the proof
        Picture picture;
        (void)reader.read(290, picture);
        lostFrom = std::numeric_limits<std::int64_t>::max();
        QCOMPARE(reader.counters().runs, 1); // the test, and none from the IDR picture on
    }
};

QTEST_GUILESS_MAIN(TestExactReaderThreads)
#include "tst_exactreader_threads.moc"
