#include "video/exact/aheadlimits.h"

#include "video/ffmpeg/compat.h"

#include <QtTest>

#include <algorithm>

using namespace quorvale;

namespace {

std::int64_t bytesOf(AVPixelFormat format, int width, int height)
{
    AVCodecParameters *parameters = avcodec_parameters_alloc();
    parameters->format = format;
    parameters->width = width;
    parameters->height = height;
    const std::int64_t bytes = pictureBytesOf(*parameters);
    avcodec_parameters_free(&parameters);
    return bytes;
}

} // namespace

/// How many pictures are decoded ahead, and at once.
class TestAheadLimits : public QObject
{
    Q_OBJECT

private slots:
    void processors_areOneAtLeast() { QVERIFY(processorCount() >= 1); }

    void pictureBytes_followSizeAndFormat()
    {
        QCOMPARE(bytesOf(AV_PIX_FMT_YUV420P, 1920, 1080), std::int64_t{3110400});
        QCOMPARE(bytesOf(AV_PIX_FMT_YUV420P10, 1920, 1080), std::int64_t{6220800});
        QCOMPARE(bytesOf(AV_PIX_FMT_YUV422P, 720, 576), std::int64_t{829440});
    }
    void pictureBytes_are0_whereTheyAreNotKnown()
    {
        QCOMPARE(bytesOf(AV_PIX_FMT_NONE, 1920, 1080), std::int64_t{0});
        QCOMPARE(bytesOf(AV_PIX_FMT_YUV420P, 0, 0), std::int64_t{0});
        QCOMPARE(bytesOf(AV_PIX_FMT_YUV420P, -5, 1 << 30), std::int64_t{0});
    }

    void limits_followProcessorsAndMemory_data()
    {
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<int>("processors");
        QTest::addColumn<int>("pictures");
        QTest::addColumn<int>("decoders");
        const auto add = [](const char *name, AVPixelFormat format, int width, int height, int pictures, int most) {
            for (const int processors : {-3, 0, 1, 2, 64}) {
                QTest::addRow("%s, %d processors", name, processors)
                    << qint64(bytesOf(format, width, height)) << processors << pictures
                    << std::clamp(processors, 1, most);
            }
        };
        add("720x576", AV_PIX_FMT_YUV420P, 720, 576, 5, 5);
        add("1280x720", AV_PIX_FMT_YUV420P, 1280, 720, 5, 3);
        add("1920x1080", AV_PIX_FMT_YUV420P, 1920, 1080, 5, 2);
        add("1920x1080 with 10 bits", AV_PIX_FMT_YUV420P10, 1920, 1080, 5, 1);
        add("3840x2160", AV_PIX_FMT_YUV420P, 3840, 2160, 2, 1);
        add("3840x2160 with 10 bits", AV_PIX_FMT_YUV420P10, 3840, 2160, 1, 1);
        add("7680x4320", AV_PIX_FMT_YUV420P, 7680, 4320, 1, 1);
        add("of an unknown size", AV_PIX_FMT_NONE, 0, 0, 1, 1);
    }
    void limits_followProcessorsAndMemory()
    {
        QFETCH(const qint64, bytes);
        QFETCH(const int, processors);
        const AheadLimits limits = aheadLimits(bytes, processors);
        QTEST(limits.pictures, "pictures");
        QTEST(limits.decoders, "decoders");
    }
};

QTEST_GUILESS_MAIN(TestAheadLimits)
#include "tst_aheadlimits.moc"
