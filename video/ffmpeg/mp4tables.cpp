#include "video/ffmpeg/mp4tables.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/mp4boxes.h"
#include "video/ffmpeg/mp4references.h"
#include "video/ffmpeg/mp4track.h"
#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavformat/avio.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <set>
#include <utility>
#include <vector>

namespace quorvale::ffmpeg {

namespace {

// Ten hours of 50 pictures a second take 62 MiB, with two tracks of sound and subtitles 141. While FFmpeg applies a
// track's edits, it keeps what it had of it.
constexpr std::int64_t kMostTableBytes = 144 * kMiB;
constexpr std::int64_t kMostBytesWithEdits = 208 * kMiB;
constexpr std::int64_t kMostHeaderBytes = 96 * kMiB;
constexpr std::int64_t kMostDescribingBytes = 16 * kMiB; // of texts and a picture of the cover
constexpr int kMostBoxes = 250'000;                      // twelve hours in fragments of two seconds
constexpr int kMostTracks = 32;
constexpr std::int64_t kMostRuns = 1'000'000; // of chunks with the same number of samples
constexpr int kDeepest = 8;

// A decoder that FFmpeg has for each track until it knows what is in the file.
constexpr std::int64_t kBytesATrack = 5 * kMiB / 2;
// What FFmpeg keeps of a sample with a time of its own for output, of each fragment, and of each track in a fragment.
constexpr std::int64_t kBytesATimedSample = std::max<std::int64_t>(36, kBytesAnMp4Sample);
constexpr std::int64_t kBytesAFragment = 64;
constexpr std::int64_t kBytesATrackInAFragment = 80;

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
        for (std::int64_t begin = avio_tell(&m_file); end - begin >= 8 && m_isJudged;) {
            std::int64_t size = avio_rb32(&m_file);
            const std::uint32_t type = avio_rb32(&m_file);
            if (size == 1) // largesize follows
                size = static_cast<std::int64_t>(avio_rb64(&m_file));
            if (depth == 0 && !m_begins.insert(begin).second)
                return; // that was read
            const std::int64_t boxEnd = size == 0 ? end : begin + std::min(size, end - begin);
            if (size != 0 && size < 8)
                return; // neither does FFmpeg read on
            m_isJudged = ++m_boxes <= kMostBoxes && depth < kDeepest;
            readBox(type, boxEnd, depth);
            if (avio_seek(&m_file, boxEnd, SEEK_SET) < 0)
                m_isJudged = false;
            begin = boxEnd;
        }
    }

    // The boxes where fragments are said to begin, if they do not stand with the others.
    void readReferenced(std::int64_t end)
    {
        addFragmentTables(m_file, m_places);
        for (std::size_t i = 0; i < m_places.size() && m_isJudged; ++i) {
            m_isJudged = ++m_boxes <= kMostBoxes;
            if (m_begins.count(m_places[i]) == 0 && avio_seek(&m_file, m_places[i], SEEK_SET) >= 0)
                readBoxes(end, 0);
        }
    }

    [[nodiscard]] std::optional<std::int64_t> tableBytes() const
    {
        const std::int64_t fragments = m_fragments * (kBytesAFragment + kBytesATrackInAFragment * m_tracks);
        const std::int64_t bytes = m_bytes + fragments;
        const bool fits =
            bytes <= kMostTableBytes && bytes + m_mostBytesEdited + m_tracks * kBytesATrack <= kMostBytesWithEdits;
        return m_isJudged && m_tracks <= kMostTracks && fits ? std::optional(bytes) : std::nullopt;
    }

private:
    void readBox(std::uint32_t type, std::int64_t end, int depth)
    {
        if (contains(kDescribing, type))
            readDescribing(type, end);
        else
            readCounting(type, end, depth);
    }

    void readCounting(std::uint32_t type, std::int64_t end, int depth)
    {
        switch (type) {
        case boxType("moov"):
            m_isJudged = m_isJudged && end - avio_tell(&m_file) <= kMostHeaderBytes;
            readBoxes(end, depth + 1);
            return;
        case boxType("trak"):
            readTrack(end, depth);
            return;
        case boxType("moof"):
            ++m_fragments;
            readBoxes(end, depth + 1);
            return;
        case boxType("mdia"):
        case boxType("minf"):
        case boxType("stbl"):
        case boxType("edts"):
        case boxType("traf"):
        case boxType("mfra"):
            readBoxes(end, depth + 1);
            return;
        case boxType("cmov"): // compressed
        case boxType("hoov"): // FFmpeg takes it for a header
            m_isJudged = false;
            return;
        case boxType("free"): // FFmpeg takes it for a header, too, if a header begins inside
            avio_skip(&m_file, 4);
            m_isJudged = m_isJudged && !isHeaderBox(avio_rb32(&m_file));
            return;
        default:
            readTable(type, end);
        }
    }

    void readTable(std::uint32_t type, std::int64_t end)
    {
        switch (type) {
        case boxType("hdlr"): // 8.4.3: version and flags, pre_defined, handler_type
            avio_skip(&m_file, 8);
            noteHandler(avio_rb32(&m_file));
            return;
        case boxType("stts"): // 8.6.1.2: version and flags, entry_count, sample_count, sample_delta
            avio_skip(&m_file, 4);
            m_track.isOfUnitSamples = avio_rb32(&m_file) == 1;
            avio_skip(&m_file, 4);
            m_track.isOfUnitSamples = avio_rb32(&m_file) == 1 && m_track.isOfUnitSamples;
            ++m_track.timeTables;
            return;
        case boxType("ctts"):
            m_track.hasOutputTimes = true;
            return;
        case boxType("stsz"): // 8.7.3: version and flags, sample_size, sample_count
        case boxType("stz2"): // reserved and field_size in the place of sample_size
            avio_skip(&m_file, 8);
            m_track.samples = std::max<std::int64_t>(m_track.samples, avio_rb32(&m_file));
            return;
        case boxType("stco"): // 8.7.5: version and flags, entry_count
        case boxType("co64"):
            avio_skip(&m_file, 4);
            m_track.chunks = std::max<std::int64_t>(m_track.chunks, avio_rb32(&m_file));
            return;
        case boxType("elst"):
            readEdits(end);
            return;
        case boxType("stsc"):
            readChunkRuns(end);
            return;
        case boxType("trun"): // 8.8.8: version and flags, sample_count
            avio_skip(&m_file, 4);
            count(avio_rb32(&m_file) * kBytesATimedSample);
            return;
        case boxType("sidx"): // each entry has 11 bytes at least
        case boxType("tfra"):
            m_fragments += (end - avio_tell(&m_file)) / 11 + 1;
            m_isJudged = m_isJudged && m_fragments <= kMostBoxes;
            if (m_isJudged && type == boxType("sidx"))
                addSegments(m_file, end, m_places);
            else if (m_isJudged)
                addFragments(m_file, end, m_places);
            return;
        default:
            return;
        }
    }

    // One may stand inside another in a broken file.
    void readTrack(std::int64_t end, int depth)
    {
        ++m_tracks;
        const Mp4Track outer = std::exchange(m_track, {});
        readBoxes(end, depth + 1);
        const std::int64_t bytes = std::min(m_track.indexEntries(), kMostTableBytes) *
                                   (m_track.hasOutputTimes ? kBytesATimedSample : kBytesAnMp4Sample);
        count(bytes);
        if (m_track.edits > 0)
            m_mostBytesEdited = std::max(m_mostBytesEdited, bytes);
        m_track = outer;
    }

    // 8.6.6: version and flags, entry_count, then segment_duration, media_time and media_rate of each edit. Those with
    // media_time -1 are empty.
    void readEdits(std::int64_t end)
    {
        const bool isLong = avio_r8(&m_file) == 1;
        avio_skip(&m_file, 3);
        const std::int64_t claimed = avio_rb32(&m_file);
        const std::int64_t edits = std::min(claimed, (end - avio_tell(&m_file)) / (isLong ? 20 : 12));
        for (std::int64_t edit = 0; edit < edits && avio_feof(&m_file) == 0; ++edit) {
            avio_skip(&m_file, isLong ? 8 : 4);
            const std::uint64_t time = isLong ? avio_rb64(&m_file) : avio_rb32(&m_file);
            const bool isEmpty = isLong ? time == UINT64_MAX : time == UINT32_MAX;
            m_track.edits += isEmpty ? 0 : 1;
            avio_skip(&m_file, 4);
        }
    }

    void noteHandler(std::uint32_t type)
    {
        m_track.isSound = m_track.isSound || type == boxType("soun");
        m_track.isPicture = m_track.isPicture || type == boxType("vide") || type == boxType("subp");
    }

    // 8.7.4: version and flags, entry_count, then first_chunk, samples_per_chunk and the description of each run
    void readChunkRuns(std::int64_t end)
    {
        avio_skip(&m_file, 4);
        const std::int64_t runs = std::min<std::int64_t>(avio_rb32(&m_file), (end - avio_tell(&m_file)) / 12);
        m_runs += std::max<std::int64_t>(runs, 0);
        m_isJudged = m_isJudged && m_runs <= kMostRuns;
        for (std::int64_t run = 0; run < runs && m_isJudged && avio_feof(&m_file) == 0; ++run) {
            const std::int64_t first = avio_rb32(&m_file);
            m_track.runs.push_back({first, avio_rb32(&m_file)});
            avio_skip(&m_file, 4);
        }
    }

    void readDescribing(std::uint32_t type, std::int64_t end)
    {
        const std::int64_t begin = avio_tell(&m_file);
        m_isJudged = m_isJudged && end - begin <= kMostDescribingBytes;
        if (type == boxType("stsd"))
            readSampleDescription();
        avio_seek(&m_file, begin, SEEK_SET);
        std::uint32_t seen = 0;
        for (std::int64_t at = begin; at < end && m_isJudged && avio_feof(&m_file) == 0; ++at) {
            seen = seen << 8 | static_cast<std::uint32_t>(avio_r8(&m_file));
            m_isJudged = !contains(kCounting, seen);
        }
    }

    // 8.5.2: version and flags, entry_count, then the entries. In a QuickTime sound description, 16 bytes after its
    // size and type stand its version, and 20 bytes after that the samples of a packet.
    void readSampleDescription()
    {
        avio_skip(&m_file, 4);
        m_track.descriptions += static_cast<int>(std::min<std::uint32_t>(avio_rb32(&m_file), 1000));
        avio_skip(&m_file, 4);
        m_track.isUncoded = contains(kUncoded, avio_rb32(&m_file));
        avio_skip(&m_file, 8);
        const bool hasPackets = avio_rb16(&m_file) == 1;
        avio_skip(&m_file, 18);
        m_track.samplesAPacket = hasPackets ? avio_rb32(&m_file) : 1;
    }

    static bool isHeaderBox(std::uint32_t type) { return type == boxType("mvhd") || type == boxType("cmov"); }

    void count(std::int64_t bytes)
    {
        m_bytes += bytes;
        m_isJudged = m_isJudged && m_bytes <= kMostTableBytes;
    }

    AVIOContext &m_file;
    Mp4Track m_track;         ///< the one whose boxes are read
    std::int64_t m_bytes = 0; ///< of all samples
    std::int64_t m_mostBytesEdited = 0;
    std::int64_t m_fragments = 0;
    std::int64_t m_runs = 0;
    std::set<std::int64_t> m_begins;    ///< of boxes that stand in no other
    std::vector<std::int64_t> m_places; ///< where fragments are said to begin
    int m_tracks = 0;
    int m_boxes = 0;
    bool m_isJudged = true; ///< false: there is too much, or what cannot be told
};

} // namespace

std::optional<std::int64_t> mp4TableBytes(AVIOContext &file)
{
    const std::int64_t size = avio_size(&file);
    BoxReader reader(file);
    reader.readBoxes(size, 0);
    reader.readReferenced(size);
    return avio_seek(&file, 0, SEEK_SET) >= 0 && size >= 0 ? reader.tableBytes() : std::nullopt;
}

} // namespace quorvale::ffmpeg
