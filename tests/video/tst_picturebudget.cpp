#include "tests/support/testclass.h"
#include "video/ffmpeg/picturebudget.h"
#include "video/ffmpeg/pointers.h"

#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

using quorvale::ffmpeg::DecoderPtr;
using quorvale::ffmpeg::FramePtr;
using quorvale::ffmpeg::PictureBudget;

/// The memory that a reader's decoders may take for pictures. No stream is decoded: the test asks as a decoder does.
class TestPictureBudget : public QObject
{
    Q_OBJECT

private:
    static DecoderPtr decoderOf(const PictureBudget &budget)
    {
        const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_MPEG2VIDEO);
        DecoderPtr decoder(avcodec_alloc_context3(codec));
        decoder->thread_count = 1;
        budget.limit(*decoder);
        if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
            decoder.reset();
        return decoder;
    }
    static FramePtr lent(AVCodecContext &decoder, int width, int height, AVPixelFormat format = AV_PIX_FMT_YUV420P)
    {
        FramePtr picture(av_frame_alloc());
        picture->width = width;
        picture->height = height;
        picture->format = format;
        decoder.pix_fmt = format;
        if (decoder.get_buffer2(&decoder, picture.get(), 0) < 0)
            picture.reset();
        return picture;
    }
    // As many as there is room for.
    static std::vector<FramePtr> allLent(AVCodecContext &decoder, int width, int height)
    {
        std::vector<FramePtr> pictures;
        for (FramePtr picture = lent(decoder, width, height); picture; picture = lent(decoder, width, height))
            pictures.push_back(std::move(picture));
        return pictures;
    }

private slots:
    void pictures_areLent_upToTheBound_andAgainWhenGivenBack()
    {
        const PictureBudget budget;
        const DecoderPtr decoder = decoderOf(budget);
        QVERIFY(decoder);
        std::vector<FramePtr> pictures = allLent(*decoder, 1920, 1088);
        QVERIFY2(pictures.size() >= 18 && pictures.size() <= 28, qPrintable(QString::number(pictures.size())));
        pictures.pop_back();
        QVERIFY(lent(*decoder, 1920, 1088));
    }

    // Whatever another reader's threads hold at a moment, the first reader decodes the same.
    void readers_doNotShare()
    {
        const PictureBudget first;
        const PictureBudget second(PictureBudget::Reader::Second);
        const DecoderPtr decoder = decoderOf(first);
        const DecoderPtr beside = decoderOf(second);
        QVERIFY(decoder && beside);
        const std::size_t alone = allLent(*decoder, 1920, 1088).size();
        const std::vector<FramePtr> held = allLent(*beside, 1920, 1088);
        QVERIFY(!held.empty() && held.size() < alone);
        QCOMPARE(allLent(*decoder, 1920, 1088).size(), alone);
    }

    void decodersOfOneReader_share()
    {
        const PictureBudget budget(PictureBudget::Reader::Second);
        const DecoderPtr decoder = decoderOf(budget);
        const DecoderPtr another = decoderOf(budget);
        QVERIFY(decoder && another);
        const std::vector<FramePtr> held = allLent(*decoder, 1920, 1088);
        QVERIFY(!lent(*another, 1920, 1088));
    }

    void largePictures_haveRoom_besideTheOneInHandAndTheOneHandedOut()
    {
        for (const auto &[count, width, height] : {std::tuple(10, 3840, 2160), {8, 7680, 4320}}) {
            const PictureBudget budget;
            const DecoderPtr decoder = decoderOf(budget);
            QVERIFY(decoder);
            std::vector<FramePtr> held;
            for (int i = 0; i < count; ++i) {
                held.push_back(lent(*decoder, width, height, AV_PIX_FMT_YUV420P10LE));
                QVERIFY(held.back());
            }
            QVERIFY(count == 8 || lent(*decoder, 1920, 1088));
        }
    }
};

TEST_CLASS(TestPictureBudget, QCoreApplication)
#include "tst_picturebudget.moc"
