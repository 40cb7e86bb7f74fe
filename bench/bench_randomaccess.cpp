// 200 pictures of ten minutes of HD H.264 with reordering, at random and backwards: by ExactReader, from opening the
// file on, and by FFMS2, from its index on and with making it.

#include "bench/cost.h"
#include "bench/ffms2source.h"
#include "bench/recordings.h"
#include "video/exact/exactreader.h"
#include "video/ffvideo.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

namespace {

constexpr int kPictures = 200;
constexpr int kRecorded = 10 * kPicturesAMinute;

using Answer = quorvale::ExactReader::Answer;

std::uint32_t checksum(const std::uint8_t *luma, int stride, int width, int height)
{
    std::uint32_t sum = 1;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column)
            sum = sum * 31 + luma[std::ptrdiff_t(row) * stride + column];
    }
    return sum;
}

void freePlanes(BridgeImage &image)
{
    for (std::uint8_t *&plane : image.data) {
        delete[] plane;
        plane = nullptr;
    }
}

void compare(const char *name, const std::string &path, const std::vector<int> &numbers)
{
    std::vector<std::uint32_t> sums;
    Cost first;
    quorvale::ExactCounters counters;
    const Cost ours = costOf([&] {
        std::unique_ptr<quorvale::ExactReader> reader;
        FFVideo video;
        const auto readOne = [&](int number) {
            BridgeImage image;
            require(reader->read(number, image) == Answer::Picture, "a picture is refused");
            sums.push_back(checksum(image.data[0], image.stride[0], image.width, image.height));
            freePlanes(image);
        };
        first = costOf([&] {
            require(video.Open(path.c_str(), true, FFVideo::FF_ACCESS_READ), "the recording does not open");
            reader = std::make_unique<quorvale::ExactReader>(video);
            readOne(numbers.front());
        });
        std::for_each(numbers.begin() + 1, numbers.end(), readOne);
        counters = reader->counters();
    });
    Source source;
    const Cost indexing = costOf([&] { source = indexedSource(path); });
    int wrong = 0;
    const Cost theirs = costOf([&] {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            FFMS_ErrorInfo error = {};
            const FFMS_Frame *frame = FFMS_GetFrame(source.get(), numbers[i], &error);
            require(frame != nullptr, "the peer refuses a picture");
            const std::uint32_t sum =
                checksum(frame->Data[0], frame->Linesize[0], frame->EncodedWidth, frame->EncodedHeight);
            wrong += sum == sums[i] ? 0 : 1;
        }
    });
    std::printf("| %s | %lld | %.1f s, %.1f s | %.1f s, %.1f s (%d) | %.1f s | %.2f | %.2f s |\n", name,
                static_cast<long long>(counters.picturesDecoded), ours.processor, ours.wall, theirs.processor,
                theirs.wall, wrong, indexing.processor, ours.processor / theirs.processor, first.processor);
    std::fflush(stdout);
}

} // namespace

int main()
{
    const std::string path = tenMinutesOfHighDefinition();
    std::minstd_rand random(4711);
    std::vector<int> numbers;
    for (int i = 0; i < kPictures; ++i)
        numbers.push_back(static_cast<int>(random() % unsigned(kRecorded)));
    std::printf("%d pictures; seconds: processor, wall; opening and scanning included\n", kPictures);
    std::printf(
        "| | pictures decoded | exactly | FFMS2 (not the right ones) | its index | ratio | our first picture |\n");
    compare("at random", path, numbers);
    std::sort(numbers.rbegin(), numbers.rend());
    compare("backwards", path, numbers);
    return 0;
}
