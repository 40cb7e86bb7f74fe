#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/video/decodecounter.h"
#include "tests/video/groupsoften.h"
#include "tests/video/openstreams.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

namespace {

// Decode timestamp of the packet with which the decoder delivers a picture after a seek backward to `dts`; the seek and
// the packets are done by hand.
std::int64_t firstDeliveryAfterSeek(FFVideo &video, std::int64_t dts)
{
    if (av_seek_frame(video.formatContext, video.videoStream, dts, AVSEEK_FLAG_BACKWARD) < 0)
        return -1;
    avcodec_flush_buffers(video.videoCodec);
    const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
    while (av_read_frame(video.formatContext, packet.get()) >= 0) {
        const std::int64_t packetDts = packet->dts;
        if (packet->stream_index == video.videoStream && avcodec_send_packet(video.videoCodec, packet.get()) >= 0 &&
            avcodec_receive_frame(video.videoCodec, video.frame) >= 0)
            return packetDts;
        av_packet_unref(packet.get());
    }
    return -1;
}

} // namespace

/// How pictures are reached, and at what cost.
class TestFFVideoSeek : public QObject, private GroupsOfTen
{
    Q_OBJECT

private slots:
    void initTestCase() { make(); }

    void read_returnsThePictureThatCarriesTheNumber()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        for (const int number : {99, 0, 1, 2, 50, 49, 77, 10, 9}) {
            Picture picture;
            QVERIFY(video.Read(number, picture));
            QCOMPARE(numberIn(picture).value_or(12345), unsigned(number));
            QCOMPARE(video.currentFrame, number);
        }
    }

    void read_costsNothing_whereTheReaderStands()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        QVERIFY(video.seekToFrame(42));
        DecodeCounter counter(video);
        const std::int64_t dts = video.lastDts;
        Picture picture;
        QVERIFY(video.Read(42, picture));
        QCOMPARE(counter.take(), 0);
        QCOMPARE(video.lastDts, dts);
    }

    void read_decodesOnePicture_forTheNextNumber()
    {
        FFVideo video;
        QVERIFY(open(video, path, true));
        DecodeCounter counter(video);
        for (int number = 1; number < kFrames; ++number) {
            QCOMPARE(numberError(video, number), QString());
            QCOMPARE(counter.take(), 1);
        }
    }

    void read_doesNotSeek_forwardInsideAGroup()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        QVERIFY(video.seekToFrame(43));
        DecodeCounter counter(video);
        QCOMPARE(numberError(video, 48), QString());
        QCOMPARE(counter.take(), 5);
    }

    void read_decodesTheGroupAtMost_forAFarPictureWithAFullTable()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        DecodeCounter counter(video);
        for (const int number : {5, 95, 40, 49, 11, 60, 1}) {
            QCOMPARE(numberError(video, number), QString());
            // From the key picture on; and before it, the picture that the seek lands on, with a stand-in for the one
            // that it refers to.
            QVERIFY2(counter.take() <= number % kGroup + 1 + 2, qPrintable(QString::number(number)));
        }
    }

    void read_decodesWholePictures_afterAFullTableAndAfterEverySeek()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        for (const int number : {99, 95, 0, 41, 40}) {
            QCOMPARE(numberError(video, number), QString());
            QVERIFY(video.videoCodec->skip_frame == AVDISCARD_DEFAULT);
            QVERIFY(video.videoCodec->skip_loop_filter == AVDISCARD_DEFAULT);
            QVERIFY(video.videoCodec->skip_idct == AVDISCARD_DEFAULT);
        }
    }

    void read_decodesForwardFromTheLastRow_beyondWhatWasScanned()
    {
        FFVideo video;
        QVERIFY(open(video, path, true));
        DecodeCounter counter(video);
        QCOMPARE(numberError(video, 37), QString());
        QCOMPARE(counter.take(), 37);
        QCOMPARE(video.keyFrames.count, 4);
        QCOMPARE(video.keyFrames.frames, 38);
        QVERIFY(!video.keyFrames.complete);
        QCOMPARE(numberError(video, 3), QString());
        QCOMPARE(numberError(video, 71), QString()); // row 30, and on
        QCOMPARE(video.keyFrames.count, 8);
        for (int row = 0; row < 8; ++row)
            QCOMPARE(video.keyFrames.entries[row].frame, row * kGroup);
    }

    void read_fails_withError30_outOfRange()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        Picture picture;
        DecodeCounter counter(video);
        for (const int number : {-1, INT_MIN, kFrames, kFrames + 1, INT_MAX}) {
            video.lastError = 0;
            QVERIFY(!video.Read(number, picture));
            QCOMPARE(video.lastError, 30);
        }
        QCOMPARE(counter.take(), 0);
        QVERIFY(picture.data[0] == nullptr);
    }

    void read_fails_withError1_farBeyondTheEndOfAGrowingTable()
    {
        FFVideo video;
        QVERIFY(open(video, path, true));
        Picture picture;
        QVERIFY(!video.Read(kFrames + 1, picture));
        QCOMPARE(video.lastError, 1);
        QVERIFY(video.keyFrames.complete);
        QCOMPARE(video.frameCount, kFrames);
        QVERIFY(!video.Read(kFrames, picture));
        QCOMPARE(video.lastError, 30);
        QCOMPARE(numberError(video, 99), QString());
    }

    void read_repeatsTheLastPicture_onceRightAfterTheEndOfAGrowingTable()
    {
        // The step that finds the end of the file is counted before it is known to bring nothing.
        FFVideo video;
        QVERIFY(open(video, path, true));
        QCOMPARE(numberError(video, kFrames - 1), QString());
        Picture picture;
        QVERIFY(video.Read(kFrames, picture));
        QCOMPARE(checksum(picture, video.frame->format), expected[kFrames - 1]);
        QVERIFY(video.keyFrames.complete);
        picture.clear();
        QVERIFY(!video.Read(kFrames, picture));
        QCOMPARE(video.lastError, 30);
    }

    void seekToNearestKeyFrame_staysPut_onTheKeyPicture_andGoesForwardToTheTarget_fromBetween()
    {
        for (const auto &[from, found] : {std::pair(40, 40), {42, 47}}) {
            FFVideo video;
            QVERIFY(open(video, path, false));
            QVERIFY(video.seekToFrame(from));
            DecodeCounter counter(video);
            QVERIFY(video.seekToNearestKeyFrame(47, 0));
            QCOMPARE(video.currentFrame, found);
            QCOMPARE(counter.take(), found - from);
        }
    }

    void seekToNearestKeyFrame_landsOnTheRow_stepsBackBeforeTheNearest()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        QVERIFY(video.seekToNearestKeyFrame(47, 0));
        QCOMPARE(video.currentFrame, 40);
        QCOMPARE(checksum(*video.frame), expected[40]);
        QVERIFY(video.seekToFrame(5));
        QVERIFY(video.seekToNearestKeyFrame(47, 2));
        QCOMPARE(video.currentFrame, 20);
        QCOMPARE(checksum(*video.frame), expected[20]);
        QVERIFY(!video.seekToNearestKeyFrame(47, 5)); // there is no fifth
        QVERIFY(!video.seekToNearestKeyFrame(-1, 0));
        QVERIFY(!video.seekToNearestKeyFrame(47, -100));
    }

    void seek_fallsBackToTheRowBefore_whenALandingIsMissed()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        video.keyFrames.entries[4].frameDts += 7; // no packet has this timestamp
        QCOMPARE(numberError(video, 45), QString());
        video.keyFrames.entries[3].frameDts -= 7; // passed before the first packet
        QCOMPARE(numberError(video, 3), QString());
        DecodeCounter counter(video);
        QCOMPARE(numberError(video, 46), QString());
        QVERIFY(counter.take() > 26); // from row 20
    }

    void seek_fallsBackToTheRowBefore_whenThePictureItLandsOnIsNoKeyPicture()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        // Row 40 pretends to be picture 43.
        video.keyFrames.entries[4].frame = 43;
        video.keyFrames.entries[4].frameDts += 3 * 3600;
        QCOMPARE(numberError(video, 46), QString());
        QVERIFY(video.seekToNearestKeyFrame(46, 0));
        QCOMPARE(video.currentFrame, 30);
    }

    void seek_decodesEveryPacketInFull_beforeAPictureThatIsIntraButNoKey()
    {
        // The picture changes altogether at 9, 19, 29 and so on: these are I pictures and enter the table. At 10, 20,
        // 30 there is an IDR.
        const QStringList encoder =
            words("-vf rotate=angle='mod(floor((n+1)/10),2)',negate=enable='mod(floor((n+1)/10),2)' "
                  "-c:v libx264 -preset veryfast -bf 0 -g 100 -keyint_min 24 -sc_threshold 100 "
                  "-force_key_frames expr:eq(mod(n,10),0) -forced-idr 1");
        const QString file = makeStream(folder.path(), {"i-before-idr.ts", encoder, kFrames});
        FFVideo video;
        QVERIFY(open(video, file, false));
        FFVideo byHand;
        QVERIFY(open(byHand, file, false));
        QCOMPARE(video.keyFrames.entries[1].frame, 9);
        QCOMPARE(video.keyFrames.entries[2].frame, 10);

        // Landing on row 9 steps until a picture comes out. Whichever it is, row 0 is reached from there, and the
        // timestamp before that of its packet tells how far the landing went.
        const std::int64_t landed = firstDeliveryAfterSeek(byHand, byHand.keyFrames.entries[1].seekDts);
        QVERIFY(landed > byHand.keyFrames.entries[1].seekDts);
        QVERIFY(video.seekToNearestKeyFrame(9, 0));
        QCOMPARE(video.currentFrame, 0);
        QCOMPARE(video.previousDts, landed);
        QCOMPARE(video.seekDts, landed);
        for (const int number : {14, 9, 23, 19, 10})
            QCOMPARE(compareEach(video, {number}, pictureChecksums(file)), QString());
    }

    void seek_fails_whenEveryRowWasTried()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        for (int row = 0; row < 5; ++row)
            video.keyFrames.entries[row].frameDts += 7;
        Picture picture;
        QVERIFY(!video.Read(45, picture));
        QCOMPARE(video.lastError, 1);
        QCOMPARE(video.currentFrame, -1); // not known
        QCOMPARE(numberError(video, 55), QString());
    }

    void seek_leavesTheFirstRowsNumber_whereTheFileEndsBeforeAnyPicture()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        video.keyFrames.entries[0].seekDts = video.lastDts;
        QVERIFY(!video.seekToNearestKeyFrame(5, 0));
        QVERIFY(video.endOfStream);
        QCOMPARE(video.currentFrame, 0);
    }

    void seekToFrame_countsOn_whereAFileThatRestartsCannotBeSought()
    {
        FFVideo video;
        QVERIFY(open(video, path, true));
        video.restartSeeks = true;
        QVERIFY(video.seekToFrame(70));
        const std::int64_t dts = video.lastDts;
        video.formatContext->pb->seek = nullptr;
        QVERIFY(video.seekToFrame(3));
        QCOMPARE(video.currentFrame, 3);
        QVERIFY(video.lastDts > dts);
    }

    void firstPicture_isWhateverComesNext_afterAMissedLanding()
    {
        // An unknown position and the position before the first picture are both -1.
        FFVideo video;
        QVERIFY(open(video, path, false));
        video.keyFrames.entries[0].frameDts += 7;
        Picture picture;
        QVERIFY(!video.Read(5, picture));
        QCOMPARE(video.currentFrame, -1);
        QVERIFY(video.Read(0, picture));
        QVERIFY(checksum(picture, video.frame->format) != expected[0]);
    }

    void step_doesNothing_atTheEnd()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        const int current = video.currentFrame;
        QVERIFY(video.stepForward());
        QCOMPARE(video.currentFrame, current);
    }
};

TEST_CLASS(TestFFVideoSeek, QCoreApplication)
#include "tst_ffvideo_seek.moc"
