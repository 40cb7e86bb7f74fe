// What five exact thumbnails of a recording cost: by ExactReader, the literal way (every picture up to the last
// one decoded), and with other programs. Everything runs in turn, in this process or as its child, round after
// round; a line of the table gives the medians, and the ratio is ours to theirs (below 1 is less).

#include "bench/cost.h"
#include "bench/recordings.h"
#include "thumbs/pictureconversion.h"
#include "thumbs/pictureseries.h"
#include "thumbs/thumbnailsize.h"
#include "tools/testpicture/ffmpegprocess.h"
#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

#ifdef QUORVALE_HAS_FFMS2
#include "bench/ffms2source.h"
#endif

#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <set>
#include <thread>

using namespace quorvale;

namespace {

constexpr int kRounds = 3;
constexpr int kTargets[] = {150, 300, 450, 600, 750};

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
        arguments.insert(arguments.end(),
                         {"-map", "[" + std::string(size) + "]", "-vsync", "passthrough", "-frames:v", "5", output});
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

#ifdef QUORVALE_HAS_FFMS2
// Whether both show the same brightness.
bool isAlike(const BridgeImage &ours, const FFMS_Frame &theirs)
{
    for (int row = 0; row < ours.height; ++row) {
        if (std::memcmp(ours.data[0] + std::ptrdiff_t(row) * ours.stride[0],
                        theirs.Data[0] + std::ptrdiff_t(row) * theirs.Linesize[0], std::size_t(ours.width)) != 0)
            return false;
    }
    return true;
}

/// By FFMS2, indexing included; how many of the five are not the right ones.
int takeWithFFMS2(const QString &path, const std::vector<BridgeImage> &right)
{
    const Source source = indexedSource(path.toStdString());
    int wrong = 0;
    for (std::size_t i = 0; i < right.size(); ++i) {
        FFMS_ErrorInfo error = {};
        const FFMS_Frame *frame = FFMS_GetFrame(source.get(), kTargets[i], &error);
        wrong += frame && isAlike(right[i], *frame) ? 0 : 1;
    }
    return wrong;
}

/// The right pictures; their planes stay with the process.
std::vector<BridgeImage> rightPictures(const QString &path)
{
    FFVideo video;
    require(video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ), "no file");
    std::vector<BridgeImage> pictures(std::size(kTargets));
    for (std::size_t i = 0; i < pictures.size(); ++i)
        require(video.Read(kTargets[i], pictures[i]), "a picture is missing");
    return pictures;
}
#endif

// Ours to theirs: processor and wall clock.
QString ratios(const Cost &ours, const std::vector<Cost> &theirs)
{
    if (theirs.empty())
        return QStringLiteral("-");
    const Cost cost = median(theirs);
    return QStringLiteral("%1, %2")
        .arg(ours.processor / cost.processor, 0, 'f', 2)
        .arg(ours.wall / cost.wall, 0, 'f', 2);
}

void compareOne(const char *name, const std::string &recording, const QString &folder)
{
    const QString path = QString::fromStdString(recording);
    std::vector<Cost> ours;
    std::vector<Cost> literal;
    std::vector<Cost> select;
    std::vector<Cost> inexact;
    std::vector<Cost> indexed;
    std::vector<Cost> opening;
    quorvale::ExactCounters counters;
    int wrong = 0;
#ifdef QUORVALE_HAS_FFMS2
    const std::vector<BridgeImage> right = rightPictures(path);
#endif
    for (int round = 0; round < kRounds; ++round) {
        ours.push_back(costOf([&] { require(takeThumbnails(path, true, &counters) == 5, "a picture is missing"); }));
        literal.push_back(costOf([&] { require(takeThumbnails(path, false) == 5, "a picture is missing"); }));
        select.push_back(costOf([&] { selectWithFFmpeg(path, folder); }));
        inexact.push_back(costOf([&] { thumbnailWithPeer(path, folder); }));
#ifdef QUORVALE_HAS_FFMS2
        indexed.push_back(costOf([&] { wrong = takeWithFFMS2(path, right); }));
#endif
        opening.push_back(costOf([&] {
            FFVideo video;
            video.Open(QFile::encodeName(path).constData(), true, FFVideo::FF_ACCESS_READ);
        }));
    }
    const Cost us = median(ours);
    const Cost open = median(opening);
    std::printf("| %s | %lld | %.2f s, %.2f s | %s | %s | %s | %s (%d) | %.2f s |\n", name,
                static_cast<long long>(counters.picturesDecoded), us.processor, us.wall,
                qPrintable(ratios(us, literal)), qPrintable(ratios(us, select)), qPrintable(ratios(us, inexact)),
                qPrintable(ratios(us, indexed)), wrong, open.processor);
    std::fflush(stdout);
}

} // namespace

// Names of recordings choose among them; all where none is named.
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    std::set<std::string> chosen; // what Google Benchmark's programs are given is not for this one
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] != '-')
            chosen.insert(argv[i]);
    }
    const QTemporaryDir folder;
    std::printf("%u processors, %d rounds, medians; seconds and ratios: processor, wall\n",
                std::thread::hardware_concurrency(), kRounds);
    std::printf(
        "| recording | pictures decoded | exactly | to literally | to ffmpeg -vf select | to ffmpegthumbnailer | "
        "to FFMS2 (of 5 not the right ones) | opening |\n");
    for (const BroadcastRecording &recording : broadcastRecordings()) {
        if (!chosen.empty() && chosen.count(recording.name) == 0)
            continue;
        const std::string path = recording.make();
        if (path.empty())
            std::printf("| %s | left out: its capture is not here |\n", recording.what);
        else
            compareOne(recording.what, path, folder.path());
    }
    return 0;
}
