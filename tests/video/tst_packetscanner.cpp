#include "tests/support/teststreams.h"
#include "tests/video/videopackets.h"

#include <QTemporaryDir>
#include <QtTest>

/// What is known of a packet without looking into it, whatever its codec.
class TestPacketScanner : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString path;

private slots:
    void initTestCase()
    {
        path = makeWithFFmpeg(folder.path(), "mpeg2.ts",
                              {"-f", "lavfi", "-i", "testsrc2=s=64x64:d=1", "-c:v", "mpeg2video"});
        QVERIFY(!path.isEmpty());
    }

    void corruptPackets_areFlagged()
    {
        const VideoPackets video = readVideoPackets(path);
        QVERIFY(!video.scanner->scan(*video.packets[0]).corrupt);
        video.packets[1]->flags |= AV_PKT_FLAG_CORRUPT;
        QVERIFY(video.scanner->scan(*video.packets[1]).corrupt);
    }

    void newExtradata_isDoubted()
    {
        const VideoPackets video = readVideoPackets(path);
        QCOMPARE(video.scanner->scan(*video.packets[0]).doubts, 0U);
        QVERIFY(av_packet_new_side_data(video.packets[1].get(), AV_PKT_DATA_NEW_EXTRADATA, 8) != nullptr);
        QCOMPARE(video.scanner->scan(*video.packets[1]).doubts, std::uint32_t{kParametersChanged});
    }

    void otherCodecs_haveNoScanner()
    {
        const QString other =
            makeWithFFmpeg(folder.path(), "mjpeg.avi", {"-f", "lavfi", "-i", "testsrc2=s=64x64:d=1", "-c:v", "mjpeg"});
        QVERIFY(!readVideoPackets(other).scanner);
    }
};

QTEST_GUILESS_MAIN(TestPacketScanner)
#include "tst_packetscanner.moc"
