#include "video/ffmpeg/matroskalists.h"

#include "video/ffmpeg/filebytes.h"

#include <algorithm>
#include <vector>

namespace quorvale::ffmpeg {

namespace {

// RFC 9559, 5.1
enum Id : std::uint32_t {
    Info = 0x1549A966,
    Title = 0x7BA9,
    MuxingApp = 0x4D80,
    DateUtc = 0x4461,
    SeekHead = 0x114D9B74,
    Seek = 0x4DBB,
    Tracks = 0x1654AE6B,
    TrackEntry = 0xAE,
    CodecId = 0x86,
    CodecPrivate = 0x63A2,
    Name = 0x536E,
    Language = 0x22B59C,
    BlockAdditionMapping = 0x41E4,
    Video = 0xE0,
    Colour = 0x55B0,
    Projection = 0x7670,
    UncompressedFourCc = 0x2EB524,
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
    Targets = 0x63C0,
    SimpleTag = 0x67C8,
    TagName = 0x45A3,
    TagString = 0x4487,
    TagLanguage = 0x447A,
};

// An element that FFmpeg enters, or keeps: a structure of `bytes`, and the content. Others it skips, and those of other
// parents.
struct Known
{
    std::uint32_t parent;
    std::uint32_t id;
    std::int64_t bytes;
    bool isEntered;
};

constexpr Known kKnown[] = {
    {Info, Title, 0, false},
    {Info, MuxingApp, 0, false},
    {Info, DateUtc, 0, false},
    {SeekHead, Seek, 64, false},
    {Tracks, TrackEntry, 8192, true},
    {TrackEntry, CodecId, 0, false},
    {TrackEntry, CodecPrivate, 0, false},
    {TrackEntry, Name, 0, false},
    {TrackEntry, Language, 0, false},
    {TrackEntry, BlockAdditionMapping, 128, false},
    {TrackEntry, Video, 0, true},
    {Video, Colour, 512, false},
    {Video, Projection, 0, false},
    {Video, UncompressedFourCc, 0, false},
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
    {Tag, Targets, 0, false},
    {Tag, SimpleTag, 4096, true},
    {SimpleTag, SimpleTag, 4096, true},
    {SimpleTag, TagName, 0, false},
    {SimpleTag, TagString, 0, false},
    {SimpleTag, TagLanguage, 0, false},
};

constexpr std::int64_t kBytesAnElement = 8; // none; but to look at one takes time
constexpr std::int64_t kCopies = 2;         // of what it keeps: its own, and that of the stream or of the metadata
constexpr std::int64_t kContentBytes = 64;  // which the structures' bytes are enough for

struct Element
{
    std::uint32_t id = 0;
    std::int64_t content = 0; ///< 0: it is none
    std::int64_t end = -1;    ///< negative: it is none, or of unknown size
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

constexpr std::uint32_t kLists[] = {SeekHead, Info, Tracks, Cues, Attachments, Chapters, Tags};

// FFmpeg gives up a list at the first element that is none, or longer than the one around it. One of unknown size it
// reads until something else comes: no recording has such lists, but coded pictures may look like the beginning of one.
std::int64_t listBytes(FileBytes &file, std::int64_t position, std::int64_t most)
{
    Element list = elementAt(file, position);
    if (list.content == 0)
        return 0;
    const bool isEndless = list.end < 0;
    if (isEndless)
        list.end = INT64_MAX;
    std::vector<Element> entered{list};
    std::int64_t bytes = 0;
    for (std::int64_t next = list.content; bytes <= most && !entered.empty();) {
        if (next >= entered.back().end) {
            entered.pop_back();
            continue;
        }
        const Element element = elementAt(file, next);
        const auto *known = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known &one) {
            return one.parent == entered.back().id && one.id == element.id;
        });
        const bool isKnown = known != std::end(kKnown);
        if (isEndless && isKnown && !file.failed())
            return most + 1;
        if (element.end < 0 || element.end > entered.back().end)
            return bytes;
        const bool isEntered = isKnown && known->isEntered;
        bytes += kBytesAnElement + (isKnown ? known->bytes : 0);
        if (isKnown && !isEntered && element.end - element.content > kContentBytes)
            bytes += kCopies * (element.end - element.content);
        if (isEntered)
            entered.push_back(element);
        next = isEntered ? element.content : element.end;
    }
    return bytes;
}

} // namespace

const ClaimWatch::Structures kMatroskaLists{std::begin(kLists), std::end(kLists), listBytes};

} // namespace quorvale::ffmpeg
