#include "video/bitstream/h262_headers.h"

#include "video/bitstream/bitreader.h"

namespace quorvale::h262 {

namespace {

BitReader readerAfterStartCode(Bytes bytes)
{
    return BitReader(withoutFirst(bytes, 1), BitReader::EmulationPrevention::No);
}

} // namespace

// ITU-T H.262, 6.2.3, picture_header()
std::optional<PictureHeader> parsePictureHeader(Bytes bytes)
{
    BitReader reader = readerAfterStartCode(bytes);
    PictureHeader header;
    header.temporalReference = reader.readBits(10);             // temporal_reference
    const std::uint32_t pictureCodingType = reader.readBits(3); // picture_coding_type
    if (reader.failed() || pictureCodingType < 1 || pictureCodingType > 3)
        return std::nullopt;
    header.type = static_cast<PictureCodingType>(pictureCodingType);
    // vbv_delay and the codes of ITU-T H.261 are of no use here.
    return header;
}

// ITU-T H.262, 6.2.2.2.1, extension_data()
std::optional<ExtensionId> parseExtensionId(Bytes bytes)
{
    BitReader reader = readerAfterStartCode(bytes);
    const std::uint32_t identifier = reader.readBits(4); // extension_start_code_identifier
    return reader.failed() ? std::nullopt : std::optional(static_cast<ExtensionId>(identifier));
}

// ITU-T H.262, 6.2.3.1, picture_coding_extension()
std::optional<PictureStructure> parsePictureStructure(Bytes bytes)
{
    BitReader reader = readerAfterStartCode(bytes);
    reader.skipBits(4);           // extension_start_code_identifier
    reader.skipBits(4);           // f_code[0][0], forward horizontal
    reader.skipBits(4);           // f_code[0][1], forward vertical
    reader.skipBits(4);           // f_code[1][0], backward horizontal
    reader.skipBits(4);           // f_code[1][1], backward vertical
    reader.skipBits(2);           // intra_dc_precision
    switch (reader.readBits(2)) { // picture_structure, table 6-14
    case 1:
        return PictureStructure::TopField;
    case 2:
        return PictureStructure::BottomField;
    case 3:
        return PictureStructure::Frame;
    default:
        return std::nullopt;
    }
}

} // namespace quorvale::h262
