#include "tests/support/testclass.h"
#include "video/ffmpeg/pixelformats.h"
#include "video/ffvideo.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

using namespace quorvale::ffmpeg;

namespace {

// Name in libavutil, so that the test does not depend on the numbers of one version.
int av(const char *name)
{
    return av_get_pix_fmt(name);
}

} // namespace

class TestPixelFormats : public QObject
{
    Q_OBJECT

private slots:
    void format_isAskedForAndReported_asItsRowSays_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<QByteArray>("asked");
        QTest::addColumn<QByteArray>("reported"); // empty: never
        const auto row = [](int value, const char *asked, const char *reported) {
            QTest::addRow("%d", value) << value << QByteArray(asked) << QByteArray(reported);
        };
        row(0, "argb", "argb");
        row(1, "rgba", "rgba");
        row(2, "abgr", "abgr");
        row(3, "bgra", "bgra");
        row(4, "rgb24", "rgb24");
        row(5, "bgr24", "bgr24");
        row(6, "rgb48le", "rgb48le");
        row(7, "rgba64le", "");
        row(8, "gray16le", "");
        row(9, "ya8", "");
        row(10, "gray", "");
        row(11, "uyvy422", "uyvy422");
        row(12, "yuvj444p", "");
        row(13, "yuvj422p", "yuvj422p");
        row(14, "yuvj420p", "yuvj420p");
        row(15, "yuv420p", "yuv420p");
        row(16, "yuv422p", "yuv422p");
        row(17, "yuv444p", "yuv444p");
        row(18, "yuva444p", "yuva444p");
        row(19, "yuv422p10le", "yuv422p10le");
        row(20, "yuv422p16le", "yuva422p16le");
        row(21, "yuv444p10le", "yuv444p10le");
        row(22, "yuva444p10le", "yuva444p10le");
        row(23, "yuva444p16le", "yuva444p16le");
    }
    void format_isAskedForAndReported_asItsRowSays()
    {
        QFETCH(const int, value);
        QFETCH(const QByteArray, asked);
        QFETCH(const QByteArray, reported);
        const auto format = static_cast<FFPixelFormat>(value);
        FFVideo video;
        video.SetPixelFormat(format);
        QVERIFY(av(asked) >= 0);
        QCOMPARE(video.outputPixelFormat, av(asked));
        if (!reported.isEmpty()) {
            QVERIFY(labelOf(av(reported)).has_value());
            QCOMPARE(int(*labelOf(av(reported))), value);
        }
        if (asked != reported) {
            QVERIFY(labelOf(av(asked)) != std::optional<FFPixelFormat>(format));
        }
    }

    void setPixelFormat_storesNone_forNone()
    {
        FFVideo video;
        video.SetPixelFormat(FF_PIX_RGB24);
        video.SetPixelFormat(FF_PIX_NONE);
        QCOMPARE(video.outputPixelFormat, -1);
    }

    void setPixelFormat_changesNothing_outsideTheEnumeration()
    {
        FFVideo video;
        video.SetPixelFormat(FF_PIX_RGB24);
        for (const int value : {25, 1000, -1}) {
            video.SetPixelFormat(static_cast<FFPixelFormat>(value));
            QCOMPARE(video.outputPixelFormat, 2);
        }
    }

    void label_isMissing_forNoFormatAndForUnknownOnes()
    {
        for (const int format : {-1, av("gray"), av("nv12"), av("yuv420p10le"), av("yuvj444p"), av("yuv422p16le")})
            QVERIFY(!labelOf(format).has_value());
    }

    void layout_isNone_forSomeFormatsThatHaveALabel()
    {
        for (const char *name : {"yuv444p", "yuva444p", "yuva422p16le"}) {
            QVERIFY(labelOf(av(name)).has_value());
            QVERIFY(planeLayoutOf(av(name)) == PlaneLayout::None);
        }
    }

    void layout_coversExactlyTheseFormats()
    {
        const QByteArrayList planar420 = {"yuv420p", "yuvj420p"};
        const QByteArrayList fullHeight = {"yuv422p", "yuvj422p", "yuv422p10le", "yuv444p10le"};
        const QByteArrayList withAlpha = {"yuva444p10le", "yuva444p16le"};
        const QByteArrayList packed = {"rgb24", "bgr24", "uyvy422", "argb", "rgba", "abgr", "bgra", "rgb48le"};
        const AVPixFmtDescriptor *format = nullptr;
        while ((format = av_pix_fmt_desc_next(format)) != nullptr) {
            const PlaneLayout layout = planeLayoutOf(av_pix_fmt_desc_get_id(format));
            const QByteArray name(format->name);
            QCOMPARE(layout == PlaneLayout::Planar420, planar420.contains(name));
            QCOMPARE(layout == PlaneLayout::PlanarFullHeight, fullHeight.contains(name));
            QCOMPARE(layout == PlaneLayout::PlanarWithAlpha, withAlpha.contains(name));
            QCOMPARE(layout == PlaneLayout::Packed, packed.contains(name));
        }
        QVERIFY(planeLayoutOf(-1) == PlaneLayout::None);
    }

    void colourSpace_isStoredAndFoundAgain_asItsRowSays_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("stored");
        const int stored[] = {0, 1, 5, 6, 7, 4, 8, 10, 9, 2};
        for (int value = 0; value < 10; ++value)
            QTest::addRow("%d", value) << value << stored[value];
    }
    void colourSpace_isStoredAndFoundAgain_asItsRowSays()
    {
        QFETCH(const int, value);
        QFETCH(const int, stored);
        FFVideo video;
        video.SetColourSpace(static_cast<FFColourSpace>(value));
        QCOMPARE(video.colourSpace, stored);
        QCOMPARE(int(video.GetColourSpace()), value);
    }

    void setColourSpace_changesNothing_outsideTheEnumeration()
    {
        FFVideo video;
        video.SetColourSpace(FF_CS_BT709);
        for (const int value : {10, 1000, -1}) {
            video.SetColourSpace(static_cast<FFColourSpace>(value));
            QCOMPARE(video.colourSpace, 1);
        }
    }

    void getColourSpace_isUnspecified_forEveryNumberWithoutAName()
    {
        FFVideo video;
        QCOMPARE(int(video.GetColourSpace()), int(FF_CS_UNSPECIFIED));
        for (const int number : {3, 11, 12, 14, 1000, -1, INT_MIN}) {
            video.colourSpace = number;
            QCOMPARE(int(video.GetColourSpace()), int(FF_CS_UNSPECIFIED));
        }
    }
};

TEST_CLASS(TestPixelFormats, QCoreApplication)
#include "tst_pixelformats.moc"
