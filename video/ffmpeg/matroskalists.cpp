#include "video/ffmpeg/matroskalists.h"

#include "video/ffmpeg/filebytes.h"

#include <algorithm>
#include <vector>

namespace quorvale::ffmpeg {

namespace {

// RFC 9559, 5.1
enum Id : std::uint32_t {
    SeekHead = 0x114D9B74,
    Seek = 0x4DBB,
    Tracks = 0x1654AE6B,
    TrackEntry = 0xAE,
    BlockAdditionMapping = 0x41E4,
    Video = 0xE0,
    Colour = 0x55B0,
    TrackOperation = 0xE2,
    TrackCombinePlanes = 0xE3,
    TrackPlane = 0xE4,
    ContentEncodings = 0x6D80,
    ContentEncoding = 0x6240,
    Cues = 0x1C53BB6B,
    CuePoint = 0xBB,
    CueTrackPositions = 0xB7,
    Attachments = 0x1941A469,
    AttachedFile = 0x61A7,
    Chapters = 0x1043A770,
    EditionEntry = 0x45B9,
    ChapterAtom = 0xB6,
    Tags = 0x1254C367,
    Tag = 0x7373,
    SimpleTag = 0x67C8,
};

// An element that FFmpeg enters, or keeps a structure of. Others it skips, and those of other parents.
struct Known
{
    std::uint32_t parent;
    std::uint32_t id;
    std::int64_t bytes;
    bool isEntered;
};

constexpr Known kKnown[] = {
    {SeekHead, Seek, 64, false},
    {Tracks, TrackEntry, 8192, true},
    {TrackEntry, BlockAdditionMapping, 128, false},
    {TrackEntry, Video, 0, true},
    {Video, Colour, 512, false},
    {TrackEntry, TrackOperation, 0, true},
    {TrackOperation, TrackCombinePlanes, 0, true},
    {TrackCombinePlanes, TrackPlane, 64, false},
    {TrackEntry, ContentEncodings, 0, true},
    {ContentEncodings, ContentEncoding, 256, false},
    {Cues, CuePoint, 48, true},
    {CuePoint, CueTrackPositions, 48, false},
    {Attachments, AttachedFile, 512, false},
    {Chapters, EditionEntry, 0, true},
    {EditionEntry, ChapterAtom, 512, false},
    {Tags, Tag, 4096, true}, // It searches all tags for the name of each.
    {Tag, SimpleTag, 4096, true},
    {SimpleTag, SimpleTag, 4096, true},
};

constexpr std::int64_t kBytesAnElement = 8; // none; but to look at one takes time

struct Element
{
    std::uint32_t id = 0;
    std::int64_t content = 0;
    std::int64_t end = -1; ///< negative: it is none, or of unknown size
};

// RFC 8794, 4 to 6: the number of zero bits before a number says how many bytes it has.
int lengthOf(std::uint64_t firstByte, int most)
{
    int length = 1;
    while (length <= most && (firstByte >> (8 - length)) == 0)
        ++length;
    return length;
}

Element elementAt(FileBytes &file, std::int64_t position)
{
    Element element;
    const int idBytes = lengthOf(file.number(position, 1), 4);
    const std::int64_t size = position + idBytes;
    const int sizeBytes = lengthOf(file.number(size, 1), 8);
    if (idBytes > 4 || sizeBytes > 8)
        return element;
    element.id = static_cast<std::uint32_t>(file.number(position, idBytes));
    element.content = size + sizeBytes;
    const std::uint64_t unknown = (std::uint64_t{1} << (7 * sizeBytes)) - 1;
    const std::uint64_t length = file.number(size, sizeBytes) & unknown;
    if (length != unknown && !file.failed())
        element.end = element.content + static_cast<std::int64_t>(length);
    return element;
}

bool beginsList(std::uint32_t id)
{
    return id == SeekHead || id == Tracks || id == Cues || id == Attachments || id == Chapters || id == Tags;
}

// FFmpeg gives up a list at the first element that is none, or longer than the one around it. One of unknown size it
// reads until something else comes; no recording has such lists.
std::int64_t listBytes(FileBytes &file, std::int64_t position, std::int64_t most)
{
    const Element list = elementAt(file, position);
    if (list.end < 0)
        return file.failed() ? 0 : most + 1;
    std::vector<Element> entered{list};
    std::int64_t bytes = 0;
    for (std::int64_t next = list.content; bytes <= most && !entered.empty();) {
        if (next >= entered.back().end) {
            entered.pop_back();
            continue;
        }
        const Element element = elementAt(file, next);
        if (element.end < 0 || element.end > entered.back().end)
            return bytes;
        const auto *known = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known &one) {
            return one.parent == entered.back().id && one.id == element.id;
        });
        const bool isKnown = known != std::end(kKnown);
        bytes += kBytesAnElement + (isKnown ? known->bytes : 0);
        const bool isEntered = isKnown && known->isEntered;
        if (isEntered)
            entered.push_back(element);
        next = isEntered ? element.content : element.end;
    }
    return bytes;
}

} // namespace

const ClaimWatch::Structures kMatroskaLists{beginsList, listBytes};

} // namespace quorvale::ffmpeg
