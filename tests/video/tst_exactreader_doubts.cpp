#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/video/exactcomparison.h"

/// Doubtful parts of a recording are bridged, or the pictures in them are refused. Delivered pictures are the same as
/// by decoding everything, and the counters tell how they were read.
class TestExactReaderDoubts : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 400;
    static constexpr int kGroup = 20;

    QTemporaryDir folder;
    QString h264;
    QString mpeg2;
    QString hevc;

    QString make(const QString &fileName, const QStringList &encoder, const QSize &size = {176, 144})
    {
        return makeStream(folder.path(), {fileName, encoder, kFrames, size});
    }

    static QStringList h264Encoder()
    {
        return words("-c:v libx264 -preset veryfast -g 20 -sc_threshold 0 -bf 2 "
                     "-x264-params keyint=20:min-keyint=20:scenecut=0");
    }

    // Pictures with room for damage after their headers.
    QString makeDetailed(const QString &fileName, const QString &encoder)
    {
        const QString source = "-f lavfi -i testsrc2=size=176x144:rate=25 -frames:v 240 -pix_fmt yuv420p -c:v ";
        return makeWithFFmpeg(folder.path(), fileName, words(source + encoder));
    }

    QString changed(const QString &path, const std::function<void(QByteArray &)> &change)
    {
        QByteArray bytes = readFile(path);
        change(bytes);
        return writeFile(folder.path(), "changed.ts", bytes);
    }

    // Transport packet number `which` of the video's, counted from the packet that lies at `share` of the file.
    static int videoPacket(const QByteArray &bytes, int type, double share, int which = 0)
    {
        const int video = transportstream::pidOfStreamType(bytes, type);
        int packet = int(double(bytes.size()) * share) / transportstream::kPacketSize;
        while (transportstream::pid(bytes, packet) != video || which-- > 0)
            ++packet;
        return packet;
    }

    // Ends a picture of H.264 that lies at `share` of the file with `payload`. That of 16 transport packets, or a
    // multiple of them, leaves the counters of later ones right.
    static void addToPicture(QByteArray &bytes, double share, const QByteArray &payload)
    {
        constexpr int kHeaderSize = 4;
        constexpr int kPayloadSize = transportstream::kPacketSize - kHeaderSize;
        const auto at = [&](int which) { return videoPacket(bytes, 27, share, which) * transportstream::kPacketSize; };
        int next = 1;
        while ((bytes.at(at(next) + 1) & 0x40) == 0) // payload_unit_start_indicator (ITU-T H.222.0, 2.4.3.3)
            ++next;
        QByteArray header = bytes.mid(at(next), kHeaderSize);
        header[1] = char(header.at(1) & ~0x40);
        const int counter = bytes.at(at(next - 1) + 3);
        QByteArray added;
        for (int i = 0; i * kPayloadSize < int(payload.size()); ++i) {
            header[3] = char(0x10 | ((counter + 1 + i) & 0x0F));
            added += header + payload.mid(i * kPayloadSize, kPayloadSize);
        }
        bytes.insert(at(next), added);
    }

    // In the data of eight pictures before each of these, the last of its group; their headers still count.
    QString withDamageBefore(const QVector<int> &targets, const QString &path, int type = 27)
    {
        return changed(path, [&](QByteArray &bytes) {
            const int video = transportstream::pidOfStreamType(bytes, type);
            int picture = -1;
            for (int at = 0; at < bytes.size(); at += transportstream::kPacketSize) {
                const bool begins = (bytes[at + 1] & 0x40) != 0;
                if (transportstream::pid(bytes, at / transportstream::kPacketSize) != video || !begins)
                    continue;
                ++picture;
                const int group = picture / kGroup * kGroup;
                if (!targets.contains(group + kGroup - 1) || picture == group || picture >= group + 9)
                    continue;
                for (int i = 100; i < 108; ++i)
                    bytes[at + i] = char(bytes[at + i] ^ 0x5A);
            }
        });
    }

private slots:
    void initTestCase()
    {
        h264 = make("h264.ts", h264Encoder());
        mpeg2 = make("mpeg2.ts", {"-c:v", "mpeg2video", "-q:v", "4", "-g", "20", "-bf", "2"}, {320, 240});
        hevc = make("hevc.ts", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params",
                                "keyint=20:min-keyint=20:scenecut=0:open-gop=0:log-level=none"});
        QVERIFY(!h264.isEmpty() && !mpeg2.isEmpty() && !hevc.isEmpty());
        for (const QString &path : {h264, mpeg2, hevc}) {
            const ExactComparison whole = compareExactly(path, {100, 300});
            QCOMPARE(whole.difference, QString());
            QCOMPARE(whole.counters.runs, 2);
            QCOMPARE(whole.refused, 0);
            QVERIFY(whole.counters.picturesDecoded < 100);
        }
    }

    void aPacketThatIsLostOrFlagged_isBridged_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("isLost");
        for (const bool isLost : {true, false}) {
            const char *what = isLost ? "lost" : "flagged";
            QTest::addRow("MPEG-2, %s", what) << mpeg2 << 2 << isLost;
            QTest::addRow("H.264, %s", what) << h264 << 27 << isLost;
            QTest::addRow("HEVC, %s", what) << hevc << 36 << isLost;
        }
    }
    void aPacketThatIsLostOrFlagged_isBridged()
    {
        QFETCH(const QString, path);
        QFETCH(const int, type);
        QFETCH(const bool, isLost);
        const QString damaged = changed(path, [&](QByteArray &bytes) {
            const int bad = videoPacket(bytes, type, 0.45, 2);
            // transport_error_indicator (ITU-T H.222.0, 2.4.3.3); the bytes are sound, which nobody knows.
            const int at = bad * transportstream::kPacketSize + 1;
            bytes[at] = char(bytes.at(at) | 0x80);
            transportstream::dropPackets(bytes, [&](int packet, int) { return isLost && packet == bad; });
        });
        const ExactComparison result = compareExactly(damaged, {100, 300, 380});
        QCOMPARE(result.difference, QString());
        // Three pictures, and the bridge from before the packet to an anchor after it.
        QCOMPARE(result.delivered, 3);
        QCOMPARE(result.counters.runs, 4);
        QVERIFY(result.counters.picturesDecoded > 100 && result.counters.picturesDecoded < 260);
    }

    // It is not decoded at all, so it does not count: at 4 KiB for each unit it would take too much memory. What is
    // probed of the recording, 5 MB, comes before.
    void aPictureOfTooManyNalUnits_isBridged()
    {
        const QString flooded = changed(h264, [](QByteArray &bytes) {
            const QByteArray filler = QByteArray::fromHex("0000010C");
            addToPicture(bytes, 0.45, ((filler + '\x80').repeated(36) + QByteArray(4, '\0')).repeated(64));
            addToPicture(bytes, 0.05, filler + QByteArray(32000 * 184 - 5, '\xFF') + '\x80');
        });
        const ExactComparison result = compareExactly(flooded, {100, 300, 380});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 3);
    }

    void aRepeatedStretch_isBridged()
    {
        for (const QString &path : {h264, mpeg2, hevc}) {
            const QString repeated = changed(path, [&](QByteArray &bytes) {
                const int from = int(bytes.size()) / 2 / transportstream::kPacketSize * transportstream::kPacketSize;
                bytes.insert(from,
                             bytes.mid(from - 300 * transportstream::kPacketSize, 300 * transportstream::kPacketSize));
            });
            const ExactComparison result = compareExactly(repeated, {100, 210, 320, 370});
            QCOMPARE(result.difference, QString());
            QVERIFY(result.delivered >= 2);
        }
    }

    void damageRightAfterABridge_doesNotMakeItVain()
    {
        const QByteArray second =
            readFile(makeDetailed("long.ts", "libx264 -preset veryfast -bf 2 -output_ts_offset 25 -x264-params "
                                             "keyint=100:min-keyint=100:scenecut=0:b-adapt=0:b-pyramid=none"));
        const QString both = changed(h264, [&](QByteArray &bytes) { bytes += second; });
        // The bridge ends about picture 532. A run to picture 595 would begin at 500, and nothing well before is known.
        const ExactComparison result = compareExactly(withDamageBefore({559}, both), {300, 595});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QVERIFY(result.counters.picturesDecoded < 300);
    }

    void aGapInTime_orOtherParameters_areBridged_data()
    {
        QTest::addColumn<QString>("options"); // of what comes second; the first one ends at second 16
        QTest::addColumn<QSize>("size");
        QTest::newRow("a gap in time") << "-output_ts_offset 25" << QSize(176, 144);
        QTest::newRow("more references") << "-output_ts_offset 16 -refs 5" << QSize(176, 144);
        QTest::newRow("another size") << "-output_ts_offset 16 -refs 3" << QSize(320, 240);
    }
    void aGapInTime_orOtherParameters_areBridged()
    {
        QFETCH(const QString, options);
        QFETCH(const QSize, size);
        const QByteArray second = readFile(make("other.ts", h264Encoder() + words(options), size));
        const QString both = changed(h264, [&](QByteArray &bytes) { bytes += second; });
        const ExactComparison result = compareExactly(both, {300, 455, 500, 700});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 4);
        QCOMPARE(result.counters.runs, 4); // From the end of the bridge, it is nearer to picture 455 than by a run.
        QVERIFY(result.counters.picturesDecoded < 220);
        // After picture 5, the decoder that began with the file is no bridge to what lies soon after one.
        const ExactComparison back = compareExactly(both, {425, 5, 426});
        QCOMPARE(back.difference, QString());
        QVERIFY2(back.counters.picturesDecoded < 220, qPrintable(QString::number(back.counters.picturesDecoded)));
    }

    void damageThatNoPacketShows_isRefused()
    {
        for (const auto &[path, type] : {std::pair(h264, 27), std::pair(hevc, 36)}) {
            int refused = 0;
            // Most of such damage is decoded without a complaint; which is not, depends on the encoder's version, too.
            for (int place = 0; place < 8 || (refused == 0 && place < 80); ++place) {
                QByteArray bytes = readFile(path);
                const int packet = videoPacket(bytes, type, 0.74 + 0.0004 * place, 2);
                for (int i = 20; i < 180; ++i)
                    bytes[packet * transportstream::kPacketSize + i] = char(i * 37 % 251 + 4);
                const ExactComparison result =
                    compareExactly(writeFile(folder.path(), "damaged.ts", bytes), {100, 302, 303, 310, 380});
                QCOMPARE(result.difference, QString());
                refused += result.refused;
            }
            QVERIFY(refused >= 1);
        }
    }

    void damageInAPictureThatIsShownLater_isRefused()
    {
        // The B pictures before it in output order refer to it.
        const QString whole =
            makeWithFFmpeg(folder.path(), "fields.ts",
                           words("-f lavfi -i testsrc2=size=128x96:rate=25 -frames:v 240 -c:v libx264 -preset veryfast "
                                 "-x264-params keyint=20:open-gop=1:tff=1:bframes=2"));
        const LiteralPictures noisy(
            makeWithFFmpeg(folder.path(), "noisy.ts",
                           {"-i", whole, "-c", "copy", "-bsf:v", "noise=amount='if(eq(mod(n,60),50),200,0)'"}));
        for (const int target : {50, 51, 110})
            QCOMPARE(compareExactly(noisy, {target}).difference, QString());
    }

    void muchDamageThatNoPacketShows_costsLittle()
    {
        const QVector<int> targets = {79, 139, 199, 259, 319, 379};
        const ExactComparison result = compareExactly(withDamageBefore(targets, h264), targets);
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, targets.size());
        // Everything once, the proof, what may be in vain, and the way back to where the decoder's state is known.
        QVERIFY(result.counters.picturesDecoded <= targets.last() + 20 + targets.last() / 10 + 2 * kGroup + 32);
    }

    void aPictureOnTheWayToTheNextAnchor_isDelivered_afterDamageThatNoPacketShows()
    {
        const QString detailed = makeDetailed(
            "detailed.ts",
            "libx265 -preset ultrafast -x265-params keyint=20:min-keyint=20:scenecut=0:open-gop=0:log-level=none");
        // Picture 85 is decoded before the group after the damage has proven itself.
        for (const auto &[path, type] : {std::pair(h264, 27), std::pair(detailed, 36)}) {
            const ExactComparison result = compareExactly(withDamageBefore({79}, path, type), {79, 85, 200});
            QCOMPARE(result.difference, QString());
            QCOMPARE(result.delivered, 3);
        }
    }

    void picturesDecodedAheadInVain_areCounted()
    {
        // Three in the first damaged group: everything is decoded to the next sound group after the second one.
        const LiteralPictures damaged(withDamageBefore({39, 139}, h264));
        const ExactComparison result = compareExactly(damaged, {33, 36, 39, 139, 380}, 1);
        report(result);
        QCOMPARE(result.difference, QString());
        QVERIFY(result.delivered == 5 && result.counters.picturesDecoded < 300);
    }

    void moreDamageOnTheWayBack_isGoneAround()
    {
        // 32 pictures before the group of 379, there is damage as well.
        const ExactComparison result = compareExactly(withDamageBefore({339, 379}, h264), {379});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 1);
        QVERIFY2(result.counters.picturesDecoded < 200, qPrintable(QString::number(result.counters.picturesDecoded)));
    }

    void damageBeforeThePicture_isNoConcern()
    {
        // In a group that is not decoded, and in the data of a picture: its header still counts.
        const QString damaged = changed(hevc, [&](QByteArray &bytes) {
            const int packet = videoPacket(bytes, 36, 0.5, 2);
            const int at = packet * transportstream::kPacketSize + 100;
            bytes[at] = char(bytes[at] ^ 0x5A);
        });
        const ExactComparison result = compareExactly(damaged, {100, 300});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.refused, 0);
    }

    void theEnd_isDecodedInOrder_fromTheLastPictureThatIsCertain()
    {
        for (const QString &path : {h264, mpeg2, hevc}) {
            const ExactComparison near = compareExactly(path, {100, kFrames - 10});
            QCOMPARE(near.difference, QString());
            QCOMPARE(near.delivered, 2);
            QCOMPARE(near.counters.runs, 2);
            QCOMPARE(near.refused, 0);
            // The proof and two groups, and what lies after the last picture that 32 others prove.
            QVERIFY(near.counters.picturesDecoded <= kGroup + 4 + 2 * (kGroup + 6) + 34);
        }
    }

    // This reader has less memory than the literal one, and a decoder that gets none loses a picture without a word.
    void picturesAfterOneThatFoundNoMemory_areRefused()
    {
        const QString path = makeStream(
            folder.path(),
            {"references.ts",
             words(
                 "-c:v libx264 -preset ultrafast -crf 40 -pix_fmt yuv422p10le -x264-params ref=10:keyint=40:bframes=3"),
             60,
             {1920, 1088}});
        const LiteralPictures literal(path);
        QVERIFY(literal.count() > 50);
        const ExactComparison result = compareExactly(literal, {12, 16, 20, 30, 45, 59, 60});
        QCOMPARE(result.difference, QString());
        QVERIFY(result.refused > 0);
    }
};

TEST_CLASS(TestExactReaderDoubts, QCoreApplication)
#include "tst_exactreader_doubts.moc"
