// What five exact thumbnails of a recording cost: by ExactReader, the literal way (every picture up to the last
// one decoded), and with two other programs. Everything runs in turn, in this process or as its child, round after
// round; a line of the table gives the medians of the processor time, and the ratio is ours to theirs (below 1 is
// faster).

#include "thumbs/pictureconversion.h"
#include "thumbs/pictureseries.h"
#include "thumbs/thumbnailscanner.h"
#include "thumbs/thumbnailsize.h"
#include "tools/sampledisk/sampledisk.h"
#include "tools/testpicture/ffmpegprocess.h"
#include "tools/testpicture/numberedstream.h"
#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>

using namespace quorvale;

namespace {

constexpr int kRounds = 3;
constexpr int kTargets[] = {150, 300, 450, 600, 750};
constexpr int kPictures = 1500; // a minute
constexpr int kDiskRecordings = 20;

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

double processorSeconds(int who)
{
    rusage usage = {};
    getrusage(who, &usage);
    const auto seconds = [](const timeval &time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// Processor time of the work, in this process and its children, which it waits for.
double costOf(const std::function<void()> &work)
{
    const double before = processorSeconds(RUSAGE_SELF) + processorSeconds(RUSAGE_CHILDREN);
    work();
    return processorSeconds(RUSAGE_SELF) + processorSeconds(RUSAGE_CHILDREN) - before;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Memory at its peak since resetPeakMemory(), in MiB; 0 where the system does not say.
double peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    }
    return 0;
}

void resetPeakMemory()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

/// The thumbnails of a recording, both densities, as the scanner makes them; how many.
int takeThumbnails(const QString &path, bool exactly, quorvale::ExactCounters *counters = nullptr)
{
    FFVideo video;
    if (!video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ))
        return 0;
    quorvale::PictureSeries series(video, {std::begin(kTargets), std::end(kTargets)});
    int taken = 0;
    for (const int target : kTargets) {
        BridgeImage picture;
        if (!(exactly ? series.read(target, picture) : video.Read(target, picture)))
            break;
        const QImage rgb = rgbPicture(picture);
        for (const std::uint8_t *plane : picture.data)
            delete[] plane;
        const QSize display(video.width, video.height);
        for (const int rows : {kSmallRows, kLargeRows})
            require(!scaledTo(thumbnailSize(display, rgb.size(), rows), rgb).isNull(), "a thumbnail is missing");
        ++taken;
    }
    if (counters)
        *counters = series.counters();
    return taken;
}

/// The same pictures in the same sizes, by the ffmpeg program.
void selectWithFFmpeg(const QString &path, const QString &folder)
{
    std::string chosen;
    for (const int target : kTargets)
        chosen += (chosen.empty() ? "eq(n," : "+eq(n,") + std::to_string(target) + ")";
    const std::string filter =
        "[0:v]select='" + chosen + "',split[a][b];[a]scale=160:120[small];[b]scale=320:240[large]";
    std::vector<std::string> arguments = {
        "-v", "quiet",           "-nostdin", "-y", "-threads", "1", "-i", path.toStdString(), "-filter_threads",
        "1",  "-filter_complex", filter};
    for (const char *size : {"small", "large"}) {
        const std::string output = (folder + "/" + size + "-%d.ppm").toStdString();
        arguments.insert(arguments.end(), {"-map", "[" + std::string(size) + "]", passthroughOption(), "passthrough",
                                           "-frames:v", "5", output});
    }
    require(runFFmpeg(arguments).ok(), "the ffmpeg program fails");
}

/// Five pictures near those, one process each, in one size.
void thumbnailWithPeer(const QString &path, const QString &folder)
{
    for (const int target : kTargets) {
        const QString time = QStringLiteral("00:00:%1").arg(target / 25, 2, 10, QLatin1Char('0'));
        const int status = QProcess::execute(QStringLiteral("ffmpegthumbnailer"),
                                             {"-i", path, "-o", folder + "/thumbnail.png", "-s", "240", "-t", time});
        require(status == 0, "ffmpegthumbnailer fails");
    }
}

/// Reads the packets of the pictures up to what is looked at after the last thumbnail; bytes of the file.
std::int64_t readPackets(const QString &path)
{
    AVFormatContext *context = nullptr;
    require(avformat_open_input(&context, QFile::encodeName(path).constData(), nullptr, nullptr) == 0, "no file");
    const quorvale::ffmpeg::InputPtr input(context);
    const AVCodec *decoder = nullptr;
    require(avformat_find_stream_info(context, nullptr) >= 0, "no streams");
    const int stream = quorvale::ffmpeg::findBestStream(context, AVMEDIA_TYPE_VIDEO, decoder);
    const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
    for (int read = 0; read < 800 && av_read_frame(context, packet.get()) >= 0; av_packet_unref(packet.get()))
        read += packet->stream_index == stream ? 1 : 0;
    return context->pb->pos;
}

void compareOne(const char *name, const QString &path, const QString &folder)
{
    std::vector<double> ours;
    std::vector<double> literal;
    std::vector<double> select;
    std::vector<double> inexact;
    std::vector<double> opening;
    std::vector<double> reading;
    quorvale::ExactCounters counters;
    std::int64_t bytes = 0;
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(costOf([&] { require(takeThumbnails(path, true, &counters) == 5, "a picture is missing"); }));
        literal.push_back(costOf([&] { require(takeThumbnails(path, false) == 5, "a picture is missing"); }));
        select.push_back(costOf([&] { selectWithFFmpeg(path, folder); }));
        inexact.push_back(costOf([&] { thumbnailWithPeer(path, folder); }));
        opening.push_back(costOf([&] {
            FFVideo video;
            video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ);
        }));
        reading.push_back(costOf([&] { bytes = readPackets(path); }));
    }
    const double us = median(ours);
    std::printf("| %s | %.2f s | %.2f s | %.2f | %.2f s | %.2f | %.2f s | %.2f |\n", name, us, median(literal),
                us / median(literal), median(select), us / median(select), median(inexact), us / median(inexact));
    std::printf("|   | opening %.2f s, opening and reading without decoding %.2f s (%.0f MB); %d of 751 pictures "
                "decoded, %d runs, %d refusals |\n",
                median(opening), median(reading), double(bytes) / 1e6, int(counters.picturesDecoded),
                int(counters.runs), int(counters.refusals));
    std::fflush(stdout);
}

QString make(const QString &folder, const char *name, PictureFormat picture, std::vector<std::string> encoder)
{
    NumberedStream stream;
    stream.path = (folder + "/" + name).toStdString();
    stream.picture = picture;
    stream.frames = kPictures;
    stream.toneFrequency = 440;
    stream.videoFilters = "noise=alls=9:allf=t"; // A camera's grain: without it no encoder needs its bit rate.
    stream.encoderArguments = std::move(encoder);
    require(encodeNumberedStream(stream).ok(), "a recording could not be made");
    return QString::fromStdString(stream.path);
}

void scan(const QStringList &files)
{
    ThumbnailScanner scanner;
    scanner.files = files;
    QObject::connect(&scanner, &ThumbnailScanner::gotThumbs, &scanner,
                     [](const QString &, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
                         qDeleteAll(small);
                         qDeleteAll(large);
                     });
    QEventLoop loop;
    QObject::connect(&scanner, &ThumbnailScanner::finished, &loop, &QEventLoop::quit);
    scanner.process();
    loop.exec();
}

void printScan(const QString &name, std::vector<double> ours, std::vector<double> literal)
{
    const double us = median(std::move(ours));
    const double them = median(std::move(literal));
    std::printf("| %s | %.2f s | %.2f s | %.2f |\n", qPrintable(name), us, them, us / them);
    std::fflush(stdout);
}

/// The scanner's work on each recording by itself, and on all of them.
void compareScans(const QStringList &files)
{
    std::vector<double> ours;
    std::vector<double> literal(kRounds);
    for (const QString &file : files) {
        std::vector<double> here;
        std::vector<double> plain;
        int pictures = 0;
        for (int round = 0; round < kRounds; ++round) {
            here.push_back(costOf([&] { scan({file}); }));
            plain.push_back(costOf([&] { pictures = takeThumbnails(file, false); }));
            literal[std::size_t(round)] += plain.back();
        }
        printScan(QStringLiteral("%1, %2 pictures").arg(QFileInfo(file).fileName()).arg(pictures), here, plain);
    }
    double memory = 0;
    for (int round = 0; round < kRounds; ++round) {
        resetPeakMemory();
        ours.push_back(costOf([&] { scan(files); }));
        memory = std::max(memory, peakMemory());
    }
    printScan(QStringLiteral("altogether, memory at its peak: %1 MiB").arg(memory, 0, 'f', 0), ours, literal);
}

void compareDisk(const QString &folder)
{
    Options options;
    options.recordings = kDiskRecordings;
    options.directory = (folder + "/disk").toStdString();
    makeSampleDisk(options, std::cerr);
    QStringList files;
    QDirIterator found(folder + "/disk", {"*.ts"}, QDir::Files, QDirIterator::Subdirectories);
    while (found.hasNext())
        files << found.next();
    files.sort();
    std::printf("| %d recordings of a sample disk | exactly | literal | ratio |\n|---|---|---|---|\n",
                int(files.size()));
    compareScans(files);
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv); // what Google Benchmark's programs are given is not for this one
    const QTemporaryDir folder;
    std::printf("%u processors, %d rounds, medians of processor time\n", std::thread::hardware_concurrency(), kRounds);
    std::printf("| recording of 60 s | exactly | literal | ratio | ffmpeg -vf select | ratio | ffmpegthumbnailer, five "
                "times | ratio |\n|---|---|---|---|---|---|---|---|\n");
    // As broadcasters encode: groups and their B pictures in a fixed pattern, and a decoder's buffer that is kept to.
    // Groups last about a second, or half of one. Their lengths have the wanted pictures lie in the middle of their
    // groups, on average.
    const auto h264 = [](const char *group) {
        return std::vector<std::string>{"-c:v",          "libx264", "-preset",  "veryfast", "-g",          group,
                                        "-sc_threshold", "0",       "-bf",      "3",        "-b_strategy", "0",
                                        "-b:v",          "8M",      "-maxrate", "10M",      "-bufsize",    "8M",
                                        "-c:a",          "ac3",     "-f",       "mpegts"};
    };
    // All pictures before a wanted one are needed, and the rate runs high at first.
    const std::vector<std::string> withoutB = {"-c:v",          "libx264", "-preset", "veryfast", "-g",   "28",
                                               "-sc_threshold", "0",       "-bf",     "0",        "-b:v", "8M",
                                               "-c:a",          "ac3",     "-f",      "mpegts"};
    const std::vector<std::string> mpeg2 = {
        "-c:v", "mpeg2video", "-g", "13",       "-sc_threshold", "1000000000", "-bf", "2",  "-b:v",
        "4M",   "-maxrate",   "6M", "-bufsize", "1835k",         "-c:a",       "mp2", "-f", "mpegts"};
    const std::vector<std::string> hevc = {
        "-c:v", "libx265", "-preset",      "ultrafast",
        "-b:v", "8M",      "-x265-params", "log-level=error:keyint=28:min-keyint=28:scenecut=0:bframes=3",
        "-c:a", "aac",     "-f",           "mpegts"};
    const PictureFormat hd = {1920, 1080, ChromaFormat::Yuv420, true};
    compareOne("1920x1080 H.264, interlaced, groups of 28 pictures", make(folder.path(), "hd.ts", hd, h264("28")),
               folder.path());
    compareOne("the same with groups of 14", make(folder.path(), "hd-14.ts", hd, h264("14")), folder.path());
    compareOne("the same with groups of 28, without B pictures", make(folder.path(), "hd-p.ts", hd, withoutB),
               folder.path());
    compareOne("720x576 MPEG-2, interlaced, groups of 13",
               make(folder.path(), "sd.ts", {720, 576, ChromaFormat::Yuv420, true}, mpeg2), folder.path());
    compareOne("1920x1080 HEVC, groups of 28",
               make(folder.path(), "hevc.ts", {1920, 1080, ChromaFormat::Yuv420, false}, hevc), folder.path());
    compareDisk(folder.path());
    return 0;
}
