#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/video/exactcomparison.h"
#include "tests/video/streamset.h"
#include "video/exact/exactreader.h"
#include "video/ffmpeg/compat.h"

#include <QtTest>

#include <array>
#include <memory>

namespace {

using quorvale::ExactCounters;
using quorvale::ExactReader;

constexpr int kFrames = 330;
const QVector<int> kTargets = {50, 110, 170, 230, 290};

std::array<std::int64_t, 4> all(const ExactCounters &counters)
{
    return {counters.packetsScanned, counters.picturesDecoded, counters.runs, counters.refusals};
}

} // namespace

/// Pictures that are decoded ahead, on several threads: they are those of decoding everything, at the same cost with
/// any number of threads, and nothing goes wrong where they are not waited for.
class TestExactReaderAhead : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QMap<QString, QString> paths;

    void add(const QString &name, const QStringList &encoder)
    {
        paths[name] = makeStream(folder.path(), {name, encoder, kFrames, {160, 128}});
        QVERIFY(!paths[name].isEmpty());
    }

    void compareWithAnyNumberOfThreads(const QString &name, const QVector<int> &targets)
    {
        const ExactComparison one = compareExactly(literalPictures(paths[name]), targets, 1);
        QCOMPARE(one.difference, QString());
        for (const int processors : {2, 8}) {
            const ExactComparison several = compareExactly(literalPictures(paths[name]), targets, processors);
            QCOMPARE(several.difference, QString());
            QCOMPARE(several.delivered, one.delivered);
            QCOMPARE(several.refused, one.refused);
            QCOMPARE(all(several.counters), all(one.counters));
        }
    }

    // A reader of the H.264 stream that has announced `targets`.
    struct Announced
    {
        Announced(const QString &path, const QVector<int> &targets, int processors)
        {
            isOpen = open(video, path);
            reader = std::make_unique<ExactReader>(video, processors);
            reader->announce({targets.begin(), targets.end()});
        }
        // Whether picture `number` is read, and is the right one.
        [[nodiscard]] bool reads(int number)
        {
            Picture exact;
            Picture plain;
            return isOpen && reader->read(number, exact) == ExactReader::Answer::Picture && video.Read(number, plain) &&
                   checksum(exact, video.frame->format) == checksum(plain, video.frame->format);
        }
        FFVideo video;
        bool isOpen = false;
        std::unique_ptr<ExactReader> reader;
    };

private slots:
    void initTestCase()
    {
        const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "24", "-bf", "3"};
        add("h264.ts", h264);
        add("h264-open.ts", h264 + QStringList{"-x264-params", "open-gop=1"});
        add("mpeg2.ts", {"-c:v", "mpeg2video", "-q:v", "4", "-g", "12", "-bf", "2"});
        add("hevc.ts", {"-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "keyint=24:log-level=none"});
        // Damage between the wanted pictures.
        QByteArray bytes = readFile(paths["h264.ts"]);
        transportstream::dropPackets(bytes, [](int packet, int) { return packet % 397 == 380; });
        // The restart test decodes on a thread, too.
        paths["h264-inexact.ts"] = makeInexactStream(folder.path(), paths["h264-open.ts"]);
        paths["lossy.ts"] = writeFile(folder.path(), "lossy.ts", bytes);
        bytes = readFile(paths["h264.ts"]);
        const int quarter = int(bytes.size()) / transportstream::kPacketSize / 4; // about picture 82
        transportstream::dropPackets(bytes, [&](int packet, int) { return packet == quarter; });
        paths["lossy-once.ts"] = writeFile(folder.path(), "lossy-once.ts", bytes);
    }

    void pictures_areTheSame_atTheSameCost_withAnyNumberOfThreads_data()
    {
        QTest::addColumn<QString>("name");
        for (auto path = paths.constBegin(); path != paths.constEnd(); ++path)
            QTest::newRow(path.key().toUtf8().constData()) << path.key();
    }
    void pictures_areTheSame_atTheSameCost_withAnyNumberOfThreads()
    {
        QFETCH(const QString, name);
        if (!name.startsWith("lossy"))
            QCOMPARE(compareExactly(literalPictures(paths[name]), kTargets, 2).delivered, kTargets.size());
        compareWithAnyNumberOfThreads(name, kTargets);
        // More than are loaded at once, the beginning and the end of the file, and a few that are not there.
        compareWithAnyNumberOfThreads(name, everyNth(0, kFrames + 12, 6));
    }

    void pictures_areTheSame_inOtherOrdersThanTheyWereAnnouncedIn()
    {
        for (const QVector<int> &order : {backwards(kTargets), shuffled(everyNth(0, kFrames, 10), 7)})
            compareWithAnyNumberOfThreads("h264.ts", order);
    }

    void picturesThatWereNotAnnounced_areTheSame()
    {
        Announced announced(paths["h264.ts"], kTargets, 2);
        for (const int number : {110, 300, 51, 230, 5, 290})
            QVERIFY(announced.reads(number));
    }

    void announcingAgain_replacesWhatIsDecodedAhead()
    {
        Announced announced(paths["h264.ts"], kTargets, 2);
        QVERIFY(announced.reads(50));
        announced.reader->announce({60, 120, 180});
        for (const int number : {60, 120, 170, 180, 290})
            QVERIFY(announced.reads(number));
    }

    void aReader_canBeDestroyed_whileItDecodes()
    {
        for (const int processors : {1, 2, 8}) {
            for (int read = 0; read <= kTargets.size(); ++read) {
                for (const char *name : {"h264.ts", "hevc.ts"}) {
                    Announced announced(paths[name], kTargets, processors);
                    for (int i = 0; i < read; ++i)
                        QVERIFY(announced.reads(kTargets.at(i)));
                    announced.reader.reset();
                }
            }
        }
    }

    void severalReaders_shareNothing()
    {
        std::vector<std::unique_ptr<Announced>> readers;
        for (const char *name : {"h264.ts", "mpeg2.ts", "hevc.ts", "h264-open.ts"})
            readers.push_back(std::make_unique<Announced>(paths[name], kTargets, 2));
        for (const int target : kTargets) {
            for (const auto &reader : readers)
                QVERIFY(reader->reads(target));
        }
    }

    void theLastPicture_isRight_whereAnotherWasDecodedAheadSinceItsEndWasNear()
    {
        const QStringList encoder{"-c:v", "libx264", "-preset", "veryfast", "-g", "12", "-bf", "2"};
        const QString path = makeStream(folder.path(), {"short.ts", encoder, 60, {160, 128}});
        QVERIFY(!path.isEmpty());
        const int end = LiteralPictures(path).count();
        Announced announced(path, {24, 25}, 2);
        for (const int number : {24, 23, end - 1, 25})
            QVERIFY(announced.reads(number));
        Picture picture;
        QCOMPARE(announced.reader->read(end, picture), ExactReader::Answer::PastEnd);
        QVERIFY(announced.reads(end - 1));
    }

    void whatWasLoaded_isReadWithoutTheFile()
    {
        // After a bridge, too.
        const QMap<QString, QVector<int>> before{{"h264.ts", {50}}, {"lossy-once.ts", {40, 130}}};
        for (const QString &name : before.keys()) {
            const QString copy = writeFile(folder.path(), "gone.ts", readFile(paths[name]));
            const QVector<int> after = kTargets.mid(before[name].size());
            Announced announced(copy, before[name] + after, 2);
            for (const int target : before[name])
                QVERIFY(announced.reads(target));
            QVERIFY(QFile::resize(copy, 0));
            for (const int target : after) {
                Picture picture;
                QCOMPARE(announced.reader->read(target, picture), ExactReader::Answer::Picture);
                QCOMPARE(checksum(picture, announced.video.frame->format).isEmpty(), false);
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestExactReaderAhead)
#include "tst_exactreader_ahead.moc"
