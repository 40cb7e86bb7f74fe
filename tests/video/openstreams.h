#pragma once

#include "tests/support/openvideo.h"
#include "tests/support/teststreams.h"

#include <QStringList>
#include <QTemporaryDir>

/// Small files to open, made when they are first asked for.
class OpenStreams
{
public:
    QTemporaryDir folder;

    /// MPEG-2 in a transport stream, 60 pictures without B pictures, with sound.
    [[nodiscard]] QString plain()
    {
        TestStream stream{"plain.ts", words("-c:v mpeg2video -q:v 4 -g 12 -bf 0 -c:a mp2"), 60};
        stream.sound = true;
        return once(m_plain, stream);
    }

    /// H.264 of 720x576 pixels, 10 pictures, a sample 16 wide to 11 high; no sound.
    [[nodiscard]] QString anamorph()
    {
        const QStringList encoder{"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0"};
        return once(m_anamorph, {"anamorph.ts", encoder, 10, {720, 576}, {16, 11}});
    }

    /// HEVC without a container.
    [[nodiscard]] QString rawHevc()
    {
        if (m_rawHevc.isEmpty()) {
            m_rawHevc =
                make("raw.265", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v", "libx265", "-preset",
                                 "ultrafast", "-x265-params", "keyint=10:bframes=0:log-level=none", "-f", "hevc"});
        }
        return m_rawHevc;
    }

    /// A file of the ffmpeg program's own making; its path, or empty.
    [[nodiscard]] QString make(const QString &name, const QStringList &arguments) const
    {
        return makeWithFFmpeg(folder.path(), name, arguments);
    }

private:
    QString once(QString &path, const TestStream &stream) const
    {
        if (path.isEmpty())
            path = makeStream(folder.path(), stream);
        return path;
    }

    QString m_plain;
    QString m_anamorph;
    QString m_rawHevc;
};
