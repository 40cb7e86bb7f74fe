#include "video/ffmpeg/mp4samples.h"

extern "C" {
#include <libavformat/avio.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace quorvale::ffmpeg {

namespace {

constexpr std::uint32_t boxType(char a, char b, char c, char d)
{
    return static_cast<std::uint32_t>(a) << 24 | static_cast<std::uint32_t>(b) << 16 |
           static_cast<std::uint32_t>(c) << 8 | static_cast<std::uint32_t>(d);
}

// QuickTime counts the samples of some coded sound as they are decoded, six or so to a byte.
constexpr std::int64_t kSamplesAByte = 8;
constexpr std::int64_t kMostSamples = 16'000'000; // two days of pictures and sound
// Beyond this many, a file is not small, nor is it read through before it is opened: each fragment has a few.
constexpr int kMostBoxes = 4000;
constexpr int kDeepest = 8;

class BoxReader
{
public:
    explicit BoxReader(AVIOContext &file)
        : m_file(file)
    {
    }

    // ISO/IEC 14496-12, 4.2: the boxes from where the file stands to `end`.
    void readBoxes(std::int64_t end, int depth)
    {
        for (std::int64_t begin = avio_tell(&m_file); end - begin >= 8 && m_boxes < kMostBoxes; ++m_boxes) {
            std::int64_t size = avio_rb32(&m_file);
            const std::uint32_t type = avio_rb32(&m_file);
            if (size == 1) // largesize follows
                size = static_cast<std::int64_t>(avio_rb64(&m_file));
            const std::int64_t boxEnd = size == 0 ? end : begin + std::min(size, end - begin);
            if (size != 0 && size < 8)
                return;
            readBox(type, boxEnd, depth);
            if (avio_seek(&m_file, boxEnd, SEEK_SET) < 0)
                return;
            begin = boxEnd;
        }
    }

    [[nodiscard]] std::int64_t samples() const { return m_samples; }

private:
    void readBox(std::uint32_t type, std::int64_t end, int depth)
    {
        switch (type) {
        case boxType('m', 'o', 'o', 'v'):
        case boxType('t', 'r', 'a', 'k'):
        case boxType('m', 'd', 'i', 'a'):
        case boxType('m', 'i', 'n', 'f'):
        case boxType('s', 't', 'b', 'l'):
        case boxType('m', 'o', 'o', 'f'):
        case boxType('t', 'r', 'a', 'f'):
            if (depth < kDeepest)
                readBoxes(end, depth + 1);
            return;
        case boxType('s', 't', 's', 'z'): // 8.7.3: version and flags, sample_size, sample_count
        case boxType('s', 't', 'z', '2'): // reserved and field_size in the place of sample_size
            avio_skip(&m_file, 8);
            m_samples += avio_rb32(&m_file);
            return;
        case boxType('t', 'r', 'u', 'n'): // 8.8.8: version and flags, sample_count
            avio_skip(&m_file, 4);
            m_samples += avio_rb32(&m_file);
            return;
        default:
            return;
        }
    }

    AVIOContext &m_file;
    std::int64_t m_samples = 0;
    int m_boxes = 0;
};

} // namespace

bool claimsTooManySamples(AVIOContext &file)
{
    const std::int64_t size = avio_size(&file);
    if (size < 0)
        return false;
    BoxReader reader(file);
    reader.readBoxes(size, 0);
    const bool tooMany = reader.samples() > std::min(size * kSamplesAByte, kMostSamples);
    return avio_seek(&file, 0, SEEK_SET) < 0 || tooMany;
}

} // namespace quorvale::ffmpeg
