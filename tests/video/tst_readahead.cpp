#include "tests/support/teststreams.h"
#include "tests/video/videopackets.h"
#include "video/exact/readahead.h"

#include <QTemporaryDir>
#include <QtTest>

/// How much waits for the decoder at most, whatever a file's packets are.
class TestReadAhead : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString path;

    // A file without end, whose packets are the stream's first one with as many bytes behind it as to be of `size`.
    ReadAhead endless(int size)
    {
        VideoPackets stream = readVideoPackets(path);
        const std::shared_ptr<AVPacket> packet(std::move(stream.packets.at(0)));
        const int missing = size - packet->size;
        if (missing > 0 && av_grow_packet(packet.get(), missing) < 0)
            throw std::bad_alloc();
        const auto source = [packet](AVPacket &next) { return av_packet_ref(&next, packet.get()) == 0; };
        return {source, std::move(stream.scanner), stream.unitsInASecond};
    }

    static std::int64_t fillAll(ReadAhead &ahead)
    {
        std::int64_t filled = 0;
        while (ahead.fill())
            ++filled;
        return filled;
    }

private slots:
    void initTestCase()
    {
        TestStream stream;
        stream.fileName = "small.ts";
        stream.encoder = QStringList{"-c:v", "mpeg2video"};
        stream.frames = 10;
        stream.width = 64;
        stream.height = 48;
        path = makeStream(folder.path(), stream);
        QVERIFY(!path.isEmpty());
    }

    void fill_stops_whereThereAreManyPackets()
    {
        ReadAhead ahead = endless(0);
        QCOMPARE(fillAll(ahead), std::int64_t{ReadAhead::kMostPackets});
        QVERIFY(!ahead.atEnd());
        const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
        QVERIFY(ahead.take(*packet));
        QCOMPARE(fillAll(ahead), std::int64_t{1});
    }

    void fill_stops_whereThereAreManyBytes()
    {
        constexpr int kSize = 1024 * 1024 + 1;
        ReadAhead ahead = endless(kSize);
        QCOMPARE(fillAll(ahead), ReadAhead::kMostBytes / kSize + 1);
        QVERIFY(!ahead.atEnd());
        const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
        QVERIFY(ahead.take(*packet));
        QCOMPARE(packet->size, kSize);
        QCOMPARE(fillAll(ahead), std::int64_t{1});
    }

    void take_readsAPacket_whereNoneWaits()
    {
        ReadAhead ahead = endless(int(ReadAhead::kMostBytes) * 2);
        const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
        QVERIFY(ahead.take(*packet));
        QVERIFY(ahead.take(*packet));
        QCOMPARE(ahead.next(), std::int64_t{2});
    }
};

QTEST_APPLESS_MAIN(TestReadAhead)
#include "tst_readahead.moc"
