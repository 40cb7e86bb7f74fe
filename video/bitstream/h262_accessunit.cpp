#include "video/bitstream/h262_accessunit.h"

#include "video/bitstream/h262_headers.h"

#include <optional>
#include <vector>

namespace quorvale::h262 {

namespace {

constexpr std::int64_t kMostBetweenReferences = std::int64_t{1} << 32; // pictures between two that others refer to
constexpr std::size_t kMostPictureHeaders = 2;                         // the fields of a frame

// One picture header and what follows it up to the next.
struct CodedPicture
{
    std::optional<PictureHeader> header;
    std::optional<PictureStructure> structure;
    int codingExtensions = 0;
    int slices = 0;
    int slicePosition = 0; // slice_vertical_position of the latest slice

    [[nodiscard]] bool isWhole() const { return header && structure && codingExtensions == 1 && slices > 0; }
    [[nodiscard]] bool isField() const { return structure != PictureStructure::Frame; }
};

// What has been seen of one access unit (6.2.2, video_sequence(), from one picture to the next).
struct Contents
{
    std::vector<CodedPicture> pictures;
    Bytes sequence; // from the sequence header to the end of its extensions
    bool wellFormed = true;
    bool changesParameters = false; // of the sequence header

    void add(Bytes bytes);

private:
    void addPicture(Bytes bytes);
    void addExtension(Bytes bytes);
    void addSlice(int verticalPosition);
    void addSequenceHeader(Bytes bytes);
};

void Contents::addPicture(Bytes bytes)
{
    if (pictures.size() == kMostPictureHeaders || (!pictures.empty() && pictures.back().slices == 0)) {
        wellFormed = false;
        return;
    }
    pictures.emplace_back();
    pictures.back().header = parsePictureHeader(bytes);
}

void Contents::addExtension(Bytes bytes)
{
    const std::optional<ExtensionId> id = parseExtensionId(bytes);
    if (pictures.empty() && sequence.data) {
        sequence.size = bytes.data + bytes.size - sequence.data;
    } else if (pictures.empty()) {
        changesParameters = true; // It belongs to no header, but decoders take it.
    } else if (id == ExtensionId::PictureCoding) {
        ++pictures.back().codingExtensions;
        pictures.back().structure = parsePictureStructure(bytes);
    } else if (id == ExtensionId::QuantMatrix) {
        changesParameters = true;
    }
}

// 6.1.2, 6.3.16
void Contents::addSlice(int verticalPosition)
{
    if (pictures.empty()) {
        wellFormed = false;
        return;
    }
    // From top to bottom, the first row included. A row may consist of several slices.
    CodedPicture &picture = pictures.back();
    if (verticalPosition < picture.slicePosition || verticalPosition > picture.slicePosition + 1)
        wellFormed = false;
    picture.slicePosition = verticalPosition;
    ++picture.slices;
}

void Contents::addSequenceHeader(Bytes bytes)
{
    if (sequence.data || !pictures.empty())
        wellFormed = false;
    sequence = bytes;
}

void Contents::add(Bytes bytes)
{
    // The start code of a picture is a zero, and can be taken for one that trails.
    if (bytes.size == 0) {
        wellFormed = false;
        return;
    }
    const auto code = static_cast<StartCode>(bytes.data[0]);
    if (code == StartCode::Picture)
        addPicture(bytes);
    else if (code >= StartCode::FirstSlice && code <= StartCode::LastSlice)
        addSlice(bytes.data[0]); // slice_vertical_position
    else if (code == StartCode::SequenceHeader)
        addSequenceHeader(bytes);
    else if (code == StartCode::Extension)
        addExtension(bytes);
    else if (code == StartCode::GroupOfPictures)
        wellFormed = wellFormed && pictures.empty();
    else if (code != StartCode::UserData)
        wellFormed = false; // the end of a sequence, an error code, a system's packet
}

// ITU-T H.262, 6.1.1.4: the second field has the parity that the first one has not and belongs to the same frame. Only
// an I field is followed by one of another type, P.
bool areFieldsOfOneFrame(const CodedPicture &first, const CodedPicture &second)
{
    return first.isField() && second.isField() && first.structure != second.structure &&
           first.header->temporalReference == second.header->temporalReference &&
           (first.header->type == second.header->type ||
            (first.header->type == PictureCodingType::I && second.header->type == PictureCodingType::P));
}

} // namespace

// An I or P picture is output when the next one comes, a B picture at once (6.1.1.11):
//   decode order  I0 P3 B1 B2 P6 B4 B5      references before it  0 1 2 2 2 3 3 ...
//   output order  I0 B1 B2 P3 B4 B5 P6
std::int64_t AccessUnitReader::countOutput(bool isReference)
{
    if (!isReference)
        return (m_references - 1) * kMostBetweenReferences + ++m_picturesSinceReference;
    m_picturesSinceReference = 0;
    return ++m_references * kMostBetweenReferences;
}

AccessUnit AccessUnitReader::read(const std::uint8_t *data, std::size_t size)
{
    AccessUnit unit;
    Contents contents;
    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes bytes;
    while (stream.next(bytes))
        contents.add(bytes);

    if (contents.sequence.data)
        m_parameterSets.note(static_cast<std::uint8_t>(StartCode::SequenceHeader), 0, contents.sequence, unit);
    unit.parametersChanged = unit.parametersChanged || contents.changesParameters;

    const std::vector<CodedPicture> &pictures = contents.pictures;
    const bool hasHeader = !pictures.empty() && pictures.front().header;
    unit.isReference = !hasHeader || pictures.front().header->type != PictureCodingType::B;
    unit.pictureOrderCount = countOutput(unit.isReference); // A damaged picture counts too.
    if (!contents.wellFormed || pictures.empty() || !pictures.front().isWhole() || !pictures.back().isWhole())
        return unit;
    unit.onePicture = pictures.size() == 1 && !pictures.front().isField();
    unit.bothFields = pictures.size() == 2 && areFieldsOfOneFrame(pictures.front(), pictures.back());
    if (pictures.front().header->type == PictureCodingType::I && contents.sequence.data)
        unit.randomAccess = RandomAccess::SequenceHeader;
    return unit;
}

} // namespace quorvale::h262
