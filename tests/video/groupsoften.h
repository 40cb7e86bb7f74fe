#pragma once

#include "tests/support/oracle.h"
#include "tests/support/teststreams.h"
#include "tests/video/everypicture.h"

#include <QtTest>

/// A stream without B pictures, with a key picture every ten, so that every number can be worked out; H.264, because
/// its decoder delivers a picture with the packet that completes it.
struct GroupsOfTen
{
    static constexpr int kFrames = 100;
    static constexpr int kGroup = 10;

    QTemporaryDir folder;
    QString path;
    QVector<QByteArray> expected;

    [[nodiscard]] QString make(const QString &fileName, int frames) const
    {
        const QStringList encoder{"-c:v", "libx264", "-preset", "ultrafast",     "-bf",
                                  "0",    "-g",      "10",      "-sc_threshold", "0"};
        return makeStream(folder.path(), {fileName, encoder, frames});
    }

    void make()
    {
        path = make("ip.ts", kFrames);
        QVERIFY(!path.isEmpty());
        expected = pictureChecksums(path);
        QCOMPARE(int(expected.size()), kFrames);
    }

    /// Empty where the reader delivers this picture.
    QString numberError(FFVideo &video, int number) const { return compareEach(video, {number}, expected); }
};
