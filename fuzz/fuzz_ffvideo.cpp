#include "fuzz/inputfile.h"
#include "video/exact/exactreader.h"
#include "video/ffvideo.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Keeps the compiler from removing reads whose only purpose is to be made.
volatile unsigned sink = 0;

// Reads the last promised byte of each plane.
void useAndFree(BridgeImage &image)
{
    for (int plane = 0; plane < image.planes; ++plane) {
        const bool halved = plane > 0 && (image.format == FF_PIX_YUV420P || image.format == FF_PIX_YUVJ420P);
        const int rows = halved ? image.height / 2 : image.height;
        if (rows > 0 && image.stride[plane] > 0)
            sink = image.data[plane][static_cast<std::size_t>(rows) * image.stride[plane] - 1];
    }
    for (const std::uint8_t *plane : image.data)
        delete[] plane;
}

void readPicture(FFVideo &video, int number)
{
    BridgeImage image;
    if (video.Read(number, image))
        useAndFree(image);
}

void readSound(FFVideo &video, int first, int last)
{
    if (!video.SetAudioRange(first, last))
        return;
    for (int call = 0; call < 50; ++call) {
        unsigned char *buffer = nullptr;
        int bytes = 0;
        int samples = 0;
        const int status = video.ReadAudioFrame(buffer, bytes, samples);
        if (buffer)
            std::memset(buffer, 0, static_cast<std::size_t>(bytes));
        delete[] buffer;
        if (status != FFVideo::FF_AUDIO_MORE && status != FFVideo::FF_AUDIO_SKIPPED)
            return;
    }
}

void readRecording(const char *path)
{
    FFVideo video;
    if (!video.Open(path, true, FFVideo::FF_ACCESS_READ))
        return;
    for (const int number : {0, 1, 7, 3, 2, 12, 0})
        readPicture(video, number);
    readSound(video, 0, 3);
    readSound(video, 2, 4);
    readPicture(video, 5);
    video.completeSeekTable();
    for (const int number : {1, video.frameCount - 1, video.frameCount / 2, video.frameCount})
        readPicture(video, number);
}

// Far enough apart, and back and forth, so that the reader proves an anchor, enters at it, and bridges.
void readExactly(const char *path, bool announces)
{
    FFVideo video;
    if (!video.Open(path, true, FFVideo::FF_ACCESS_READ))
        return;
    const std::vector<int> numbers = {30, 60, 61, 90, 120, 20, 150, 100000};
    quorvale::ExactReader reader(video);
    if (announces)
        reader.announce(numbers);
    for (const int number : numbers) {
        BridgeImage image;
        if (reader.read(number, image) == quorvale::ExactReader::Answer::Picture)
            useAndFree(image);
    }
}

} // namespace

// Reads a damaged recording as the thumbnails and a player of sound do.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const InputFile file(bytes, size);
    readRecording(file.path());
    readExactly(file.path(), false);
    readExactly(file.path(), true);
    return 0;
}
