#pragma once

#include "tests/support/teststreams.h"

#include <QTemporaryDir>

/// Small streams that claim as much as their kind allows: files that the ffmpeg program makes.
class CostlyStreams
{
public:
    [[nodiscard]] QString folder() const { return m_folder.path(); }
    [[nodiscard]] QString encoded(const QString &name, const QStringList &encoder) const
    {
        return makeWithFFmpeg(m_folder.path(), name + ".ts", encoder);
    }
    [[nodiscard]] QString coloured(const QString &name, const QString &size, int pictures, const QString &encoder) const
    {
        const QString input = QString("-f lavfi -i color=s=%1:r=25 -frames:v %2 ").arg(size).arg(pictures);
        return encoded(name + size, words(input + encoder));
    }
    // A stream of `pictures` pictures of one colour that keeps as many of them as there may be.
    [[nodiscard]] QString keeping16(const QString &size, const QString &pixels, int pictures,
                                    const QString &more = "bframes=0") const
    {
        return coloured(pixels + more.left(9), size, pictures,
                        "-c:v libx264 -preset ultrafast -pix_fmt " + pixels +
                            " -x264-params ref=16:level=6.2:keyint=1000:scenecut=0:log=-1:" + more + " -f h264");
    }
    [[nodiscard]] QString av1(const QString &size, int pictures) const
    {
        return coloured("av1", size, pictures, "-pix_fmt yuv420p10le -c:v libsvtav1 -preset 12 -f ivf");
    }
    [[nodiscard]] QString hevc(const QString &size, const QString &pixels, int pictures) const
    {
        return coloured("hevc", size, pictures,
                        "-c:v libx265 -preset ultrafast -pix_fmt " + pixels +
                            " -x265-params ref=5:bframes=4:b-pyramid=1:log-level=none -f mpegts");
    }
    [[nodiscard]] QString ffv1(const QString &slices, const QString &pixels, int pictures = 1) const
    {
        return coloured("ffv1" + pixels, "1920x1088", pictures,
                        "-pix_fmt " + pixels + " -slices " + slices +
                            " -c:v ffv1 -level 3 -coder 1 -context 1 -f matroska");
    }

    // Pictures of zeros with four bytes a pixel, which take no room on the disk.
    [[nodiscard]] QString uncompressed(int width, int height, int pictures) const
    {
        QFile file(m_folder.filePath("uncompressed.ts"));
        if (!file.open(QIODevice::WriteOnly))
            return {};
        file.write(QString("YUV4MPEG2 W%1 H%2 F25:1 C444alpha\n").arg(width).arg(height).toLatin1());
        for (int i = 0; i < pictures; ++i) {
            file.write("FRAME\n");
            file.seek(file.pos() + qint64{4} * width * height);
        }
        return file.resize(file.pos()) ? file.fileName() : QString();
    }

private:
    const QTemporaryDir m_folder;
};
