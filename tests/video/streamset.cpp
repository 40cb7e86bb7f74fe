#include "tests/video/streamset.h"

#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tools/loopedgroup/loopedgroup.h"

QMap<QString, QString> makeWholeStreams(const QString &folder, int frames, const QSize &size)
{
    QMap<QString, QString> paths;
    const auto add = [&](const QString &fileName, const QStringList &encoder, bool interlaced = false,
                         bool sound = false) {
        TestStream stream{fileName, encoder, frames, size};
        stream.interlaced = interlaced;
        stream.sound = sound;
        paths[fileName] = makeStream(folder, stream);
    };
    const QStringList mpeg2{"-c:v", "mpeg2video", "-q:v", "3", "-g", "12"};
    const QStringList h264{"-c:v", "libx264", "-preset", "veryfast", "-g", "24"};
    const QStringList hevc{"-c:v", "libx265", "-preset", "ultrafast", "-x265-params"};
    const QString groups = "keyint=24:log-level=none";
    add("mpeg2.ts", mpeg2 + QStringList{"-bf", "0"});
    add("mpeg2-b.ts", mpeg2 + QStringList{"-bf", "2"});
    add("mpeg2-b-interlaced.ts", mpeg2 + QStringList{"-bf", "2", "-c:a", "mp2"}, true, true);
    add("h264.ts", h264 + QStringList{"-bf", "0", "-c:a", "aac"}, false, true);
    add("h264-b-closed.ts", h264 + QStringList{"-bf", "3", "-x264-params", "open-gop=0"});
    add("h264-b-open.ts", h264 + QStringList{"-bf", "3", "-x264-params", "open-gop=1"});
    add("h264-b-interlaced.ts", h264 + QStringList{"-bf", "3", "-x264-params", "tff=1"}, true);
    add("h264-intra.ts", h264 + QStringList{"-g", "1"});
    add("hevc.ts", hevc + QStringList{groups});
    add("hevc-idr.ts", hevc + QStringList{groups + ":open-gop=0"});
    add("hevc-raw.265", hevc + QStringList{groups + ":open-gop=0", "-f", "hevc"});
    add("mpeg2-33-bit-wrap.ts",
        mpeg2 + QStringList{"-bf", "0", "-output_ts_offset", "95441.7", "-muxdelay", "0", "-muxpreload", "0"});
    return paths;
}

QMap<QString, QString> makeDamagedStreams(const QString &folder, const QMap<QString, QString> &whole)
{
    QMap<QString, QString> paths;
    const auto change = [&](const QString &from, const QString &to, auto operation) {
        QByteArray bytes = readFile(whole[from]);
        operation(bytes);
        paths[to] = writeFile(folder, to, bytes);
    };
    change("h264.ts", "hdmv.ts", [](QByteArray &bytes) {
        if (!transportstream::registerFirstStream(bytes, "HDMV"))
            bytes.clear();
    });
    const auto middle = [](QByteArray &bytes) { // from somewhere inside a group on
        const int video = transportstream::pidOfStreamType(bytes, bytes.contains("x264") ? 27 : 2);
        const int first = int(bytes.size()) / transportstream::kPacketSize / 6;
        transportstream::dropPackets(bytes, [=](int packet, int pid) { return pid == video && packet < first; });
    };
    change("h264-b-open.ts", "h264-starts-in-the-middle.ts", middle);
    change("mpeg2-b.ts", "mpeg2-starts-in-the-middle.ts", middle);
    change("h264.ts", "h264-packets-lost.ts", [](QByteArray &bytes) {
        const int video = transportstream::pidOfStreamType(bytes, 27);
        transportstream::dropPackets(bytes, [=](int packet, int pid) { return pid == video && packet % 97 == 50; });
    });
    change("mpeg2-b.ts", "mpeg2-bits-flipped.ts", [](QByteArray &bytes) {
        for (int at = 40000; at < bytes.size(); at += 9973)
            bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
    });
    change("h264.ts", "h264-cut.ts", [](QByteArray &bytes) { bytes.truncate(bytes.size() * 3 / 5 + 77); });
    return paths;
}

QString makeInexactStream(const QString &folder, const QString &open, bool keepsIdr)
{
    const QString path = folder + (keepsIdr ? "/h264-inexact-after-idr.ts" : "/h264-inexact.ts");
    quorvale::LoopedGroup looped;
    looped.source = open.toStdString();
    looped.path = path.toStdString();
    looped.group = 1;
    looped.groups = 2;
    looped.times = 8;
    looped.keepsBeginning = keepsIdr;
    looped.changes.clearsExactMatch = true;
    writeLoopedGroup(looped);
    return path;
}
