// What the headers, tables and packets of small files may cost.

#include "tests/reliability/costlystreams.h"
#include "tests/reliability/memoryvisit.h"
#include "tests/support/hugeclaims.h"
#include "tests/support/hugemp4.h"
#include "tests/support/sanitized.h"
#include "tests/support/testclass.h"
#include "tests/support/transportstream.h"
#include "tests/video/h264syntax.h"
#include "tests/video/hevcsyntax.h"
#include "video/ffmpeg/compat.h"

using namespace memoryvisit;

class TestBoundedHeaders : public QObject
{
    Q_OBJECT

private slots:
    void headers_areRefused_thatClaimTables_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const HugeMp4 samples{20, 4400000};
        QTest::newRow("samples") << samples.bytes();
        const auto add = [samples](const char *name, auto member, int value) {
            HugeMp4 file = samples;
            file.*member = value;
            QTest::newRow(name) << file.bytes();
        };
        add("samples, in a compressed header", &HugeMp4::isCompressed, 1);
        add("samples, after many boxes", &HugeMp4::boxesBefore, 4100);
        add("samples, after more boxes than there may be", &HugeMp4::boxesBefore, 260000);
        add("samples, inside the sample description", &HugeMp4::isHidden, 1);
        add("samples, before a track inside the track", &HugeMp4::isNested, 1);
        HugeMp4 sound{10};
        sound.isSound = true;
        sound.samplesAChunk = 1 << 20;
        QTest::newRow("chunks of sound") << sound.bytes();
        QTest::newRow("tracks") << HugeMp4{40, 40000}.bytes();
        HugeMp4 edits{30, 200000};
        edits.edits = 1;
        QTest::newRow("tracks with edits") << edits.bytes();
        edits = {10, 20000};
        edits.edits = 200;
        QTest::newRow("edits") << edits.bytes();
        HugeMp4 fragments;
        fragments.fragments = 10;
        fragments.samplesInFragment = 500000;
        QTest::newRow("fragments") << fragments.bytes();
        fragments.areFragmentsHidden = true;
        QTest::newRow("fragments inside the data") << fragments.bytes();
        QByteArray mxf =
            readFile(streams.encoded("mxf", words("-f lavfi -i color=s=64x64:d=1 -c:v mpeg2video -f mxf")));
        const QByteArray emptySet = QByteArray::fromHex("060E2B34025301010D01010101010F0000");
        const int essence = int(mxf.indexOf(QByteArray::fromHex("060E2B34010201010D010301")));
        QVERIFY(essence > 0);
        QTest::newRow("MXF, sets") << QByteArray(mxf).insert(essence, emptySet.repeated(4000));
        const QByteArray duration = QByteArray::fromHex("3F0D0008"); // IndexDuration: its tag and length
        const int value = int(mxf.indexOf(duration)) + 4;
        QVERIFY(value > 4);
        QTest::newRow("MXF, an index table")
            << mxf.replace(value, 8, QByteArray::fromHex("0000000000500000")); // 5 million entries
        QTest::newRow("Matroska, tracks") << hugeMatroska("1654AE6B", "AE", 100000);
        const QByteArray tracks = matroskaElement("1654AE6B", QByteArray("\xAE\x80").repeated(100000));
        const QByteArray place = matroskaElement("53AB", QByteArray::fromHex("1654AE6B")) +
                                 matroskaElement("53AC", QByteArray(1, 56)); // inside the next element
        const QByteArray placeTable = matroskaElement("114D9B74", matroskaElement("4DBB", place));
        QCOMPARE(placeTable.size() + 9, 56);
        const auto matroska = [](const QByteArray &elements) { return hugeMatroska("EC", "EC", 0, elements); };
        QTest::newRow("Matroska, tracks elsewhere") << matroska(placeTable + matroskaElement("EC", tracks));
        QTest::newRow("Matroska, tracks after damage") << hugeMatroska("1654AE6B", "AE", 100000, QByteArray(100, '\0'));
        const QByteArray video = matroskaElement("D7", "\1") + matroskaElement("83", "\1") + // its number and kind
                                 matroskaElement("86", "V_MPEG2");
        const QByteArray large(32 << 20, '\0');
        QTest::newRow("Matroska, a track's header")
            << matroska(matroskaElement("1654AE6B", matroskaElement("AE", video + matroskaElement("63A2", large))));
        const QByteArray attachment =
            matroskaElement("61A7", matroskaElement("466E", "a") + matroskaElement("4660", "b") +
                                        matroskaElement("46AE", "\1") + matroskaElement("465C", large));
        QTest::newRow("Matroska, attachments") << matroska(matroskaElement("1941A469", attachment + attachment));
        HugeJpeg2000 headed;
        headed.headerBytes = 32 << 20;
        QTest::newRow("AVI, a stream's header") << headed.avi();
        headed.headerBytes = 96 << 20;
        QTest::newRow("AVI, a longer one") << headed.avi();
        QByteArray texts = ";FFMETADATA1\n";
        for (int i = 0; i < 60000; ++i)
            texts += QByteArray::number(i) + "=a\n";
        const QString ogg =
            "-f lavfi -i color=d=1 -i " + writeFile(streams.folder(), "list", texts) + " -map_metadata 1 -f ogg";
        QTest::newRow("Ogg, texts") << readFile(streams.encoded("texts", words(ogg)));
        QByteArray chapters = ";FFMETADATA1\n";
        for (int i = 0; i < 9000; ++i)
            chapters += "[CHAPTER]\nSTART=" + QByteArray::number(i) + "\nEND=" + QByteArray::number(i + 1) + '\n';
        const QString nut =
            "-f lavfi -i color=d=1 -i " + writeFile(streams.folder(), "list", chapters) + " -map_chapters 1 -f nut";
        QTest::newRow("NUT, chapters") << readFile(streams.encoded("chapters", words(nut)));
        const QByteArray packets = readFile(streams.hevc("64x64", "yuv420p", 24));
        QTest::newRow("transport stream, programmes") << transportstream::programmes(20000) + packets;
        const QByteArray h264 = readFile(streams.keeping16("64x64", "yuv420p", 24));
        QTest::newRow("H.264, NAL units") << h264 + QByteArray::fromHex("0000010C80").repeated(30000) + h264;
        const QByteArray h265 = readFile(streams.coloured("h265", "64x64", 24, "-c:v libx265 -f hevc"));
        const QByteArray units = h265 + QByteArray::fromHex("000001500105018080").repeated(30000) + h265;
        QTest::newRow("HEVC, NAL units") << units;
        const QString inPackets =
            "-f hevc -i " + writeFile(streams.folder(), "raw", units) + " -c copy -bsf:v setts=ts=N*3600 -f mpegts";
        QTest::newRow("HEVC in packets, NAL units") << readFile(streams.encoded("packets", words(inPackets)));
        const QString inAvi = "-f hevc -i " + streams.folder() + "/raw -c copy -tag:v HEVC -bsf:v setts=ts=N -f avi";
        QTest::newRow("HEVC in AVI, NAL units") << readFile(streams.encoded("avi", words(inAvi)));
        const QByteArray sei = QByteArray::fromHex("00000150018080");
        const QString hundred = "-f hevc -i " + writeFile(streams.folder(), "raw", h265 + sei.repeated(2000) + h265) +
                                ' ' + QString("-map 0 ").repeated(100) + "-c copy -bsf:v setts=ts=N*3600 -f mpegts";
        QTest::newRow("HEVC in a hundred streams, NAL units") << readFile(streams.encoded("hundred", words(hundred)));
        // Transport packets; in the first one a PES header, which may hold anything.
        const QByteArray first = QByteArray::fromHex("47410010000001E00000800007000001020180FF") + sei.repeated(24);
        const QByteArray plain = QByteArray::fromHex("47010010") + sei.repeated(26) + "\xFF\xFF";
        QTest::newRow("HEVC, slices in PES headers") << packets + first.repeated(2000) + packets;
        QByteArray broken = packets + first + plain.repeated(2000) + packets;
        for (int end = 0x8000; end < broken.size(); end += 0x8000)
            broken[end / 188 * 188] = broken[end / 188 * 188 + 188] = 0;
        QTest::newRow("HEVC, damage wherever the next bytes are read") << broken;
        QByteArray unknown = packets;
        QVERIFY(transportstream::registerFirstStream(unknown, "none", 6));
        QTest::newRow("HEVC that is known later") << unknown.left(564) + first + plain.repeated(3000) + packets;
        hevcsyntax::Sps sps;
        sps.width = sps.height = 16000;
        hevcsyntax::Pps pps;
        QByteArray sets = hevcsyntax::vps() + sps.write();
        for (; pps.id < 7; ++pps.id)
            sets += pps.write();
        QTest::newRow("HEVC, parameter sets for the largest pictures") << h265 + sets + h265;
        for (; pps.id < 64; ++pps.id)
            sets += pps.write();
        QTest::newRow("HEVC, more of them in one picture") << h265 + sets + h265;
        sps.width = 8192;
        sps.height = 4320;
        pps.id = 0;
        QTest::newRow("HEVC, large pictures of small blocks") << hevcsyntax::vps() + sps.write() + pps.write() + h265;
        const auto pes = [](char id, const QByteArray &content) {
            const int size = int(content.size()) + 3;
            return QByteArray::fromHex("000001") + id + char(size >> 8) + char(size) + "\x80" + QByteArray(2, '\0') +
                   content;
        };
        const QByteArray map = QByteArray::fromHex( // and a pack's header: HEVC, and sound
            "000001BA44000400040100000300000001BC0012E0FF0000000824E000000FC0000000000000");
        const QByteArray flood = pes('\xE0', sei.repeated(8000));
        const QByteArray apart = flood + pes('\xC0', QByteArray::fromHex("000001020180"));
        QTest::newRow("HEVC, no map of the streams") << map.left(14) + flood.repeated(8) + pes('\xE0', h265 + h265);
        QTest::newRow("HEVC in a program stream, between others' slices")
            << map + pes('\xE0', h265) + apart.repeated(8);
        QTest::newRow("HEVC in a program stream, parameter sets") << map + pes('\xE0', h265 + sets + h265);
        const auto counted = [](const QByteArray &unit) { return char(unit.size() - 4) + unit.mid(4); };
        h264syntax::Sps sps264;
        h264syntax::Pps pps264;
        QByteArray avcC = QByteArray::fromHex("014D0028FFE100") + counted(sps264.write()) + '\xFF';
        for (; pps264.id < 255; ++pps264.id)
            avcC += '\0' + counted(pps264.write());
        QByteArray list;
        QByteArray blocks;
        for (char track = 1; track <= 32; ++track) {
            list += matroskaElement("AE", matroskaElement("D7", QByteArray(1, track)) + matroskaElement("83", "\1") +
                                              matroskaElement("86", "V_MPEG4/ISO/AVC") + matroskaElement("63A2", avcC));
            blocks += matroskaElement("A3", char(track | 0x80) + QByteArray::fromHex("000080000000026580"));
        }
        QTest::newRow("H.264, parameter sets of many tracks")
            << matroska(matroskaElement("1654AE6B", list) + matroskaElement("1F43B675", blocks));
        const QByteArray tag = QByteArray(1, '\x90') + "hvc1" + sei.repeated(40000);
        QTest::newRow("HEVC in FLV, NAL units") << QByteArray::fromHex("464C5601010000000900000000") + '\x09' +
                                                       char(tag.size() >> 16) + char(tag.size() >> 8) +
                                                       char(tag.size()) + QByteArray(7, '\0') + tag;
        QTest::newRow("VVC, NAL units") << QByteArray::fromHex("000001007100000001007980000001008180000001003980") +
                                               QByteArray::fromHex("00000100A128").repeated(40000);
        QTest::newRow("VVC, parameter sets") << QByteArray::fromHex("000001007100000001007980") +
                                                    QByteArray::fromHex("0000010081800000000080").repeated(2000) +
                                                    QByteArray::fromHex("000001003980");
        const QByteArray obus = QByteArray::fromHex("1200").repeated(0x8000);
        const QByteArray ivf = readFile(streams.av1("64x64", 2));
        QTest::newRow("AV1, OBUs") << ivf.left(32) + QByteArray::fromHex("000001000000000000000000") + obus +
                                          ivf.mid(32);
        const QByteArray av1 =
            matroskaElement("D7", "\1") + matroskaElement("83", "\1") + matroskaElement("86", "V_AV1");
        QTest::newRow("AV1 in Matroska, OBUs")
            << matroska(matroskaElement("1654AE6B", matroskaElement("AE", av1)) +
                        matroskaElement("1F43B675", matroskaElement("A3", QByteArray::fromHex("81000080") + obus)));
    }

    void headers_areRefused_thatClaimTables()
    {
        QFETCH(const QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const QString path = writeFile(streams.folder(), "claim.ts", bytes);
        const Visit visit = visitWith("literal", path);
        qInfo("%d bytes: %lld MiB", int(bytes.size()), visit.mib);
        QCOMPARE(visit.pictures, 0);
        QCOMPARE(visitWith("open", path).pictures, 0);
        if (!kIsSanitized)
            QVERIFY(visit.mib <= kUsualMiB / 2);
    }

    void headers_areTaken_thatClaimWhatRecordingsHave_data()
    {
        QTest::addColumn<QString>("path");
        const auto row = [this](const char *name, const QString &muxer) {
            const QString whole = "-f lavfi -i testsrc2=s=64x64:r=1:d=1800 -f lavfi -i anullsrc=r=16000:cl=mono"
                                  " -t 1800 -c:v mpeg4 ";
            QTest::newRow(name) << streams.encoded(name, words(whole + muxer));
        };
        row("sound that is not coded, half an hour", "-c:a pcm_s16le -f mov");
        row("four tracks of sound", "-map 0 -map 1 -map 1 -map 1 -map 1 -c:a aac -f mp4");
        row("fragments", "-c:a aac -movflags frag_keyframe+empty_moov -f mp4");
        row("fragments with their index", "-c:a aac -movflags frag_keyframe+empty_moov+dash+global_sidx -f mp4");
        // Its bytes look like the beginnings of lists.
        const QByteArray lists = QByteArray::fromHex("1654AE6BFF00").repeated(1000);
        const QString font = writeFile(streams.folder(), "font.ttf", lists + QByteArray(4 << 20, '\0'));
        row("a font", "-c:a aac -attach " + font + " -metadata:s:t mimetype=font/ttf -f matroska");
        row("texts and edits", "-c:a aac -bf 2 -metadata title=A -f mov");
        row("an AVI file's index", "-c:a mp2 -f avi");
        const QByteArray obus = readFile(streams.coloured("obus", "64x64", 2, "-c:v libsvtav1 -preset 12 -f obu"));
        QTest::newRow("AV1, more pictures than OBUs in one")
            << writeFile(streams.folder(), "pictures.ts", obus.repeated(2000));
    }

    void headers_areTaken_thatClaimWhatRecordingsHave()
    {
        QFETCH(const QString, path);
        QCOMPARE(visitWith("literal", path).pictures, kAll);
    }

    // 50 pictures a second, and as many samples of sound and subtitles in each other track: that is more than there
    // are.
    void headers_areOpened_ofTenHours_withinTheBound()
    {
        for (const int tracks : {2, 3}) {
            HugeMp4 recording{tracks, 10 * 3600 * 50};
            recording.edits = 1;
            const Visit visit = visitWith("open", writeFile(streams.folder(), "tenhours.ts", recording.bytes()));
            qInfo("%d tracks: %lld MiB", tracks, visit.mib);
            QCOMPARE(visit.pictures, tracks == 2 || quorvale::ffmpeg::kBytesAnMp4Sample <= 24 ? 1 : 0);
            QVERIFY(visit.mib <= kUsualMiB || kIsSanitized);
        }
    }

private:
    CostlyStreams streams;
};

TEST_CLASS(TestBoundedHeaders, QCoreApplication)
#include "tst_boundedheaders.moc"
