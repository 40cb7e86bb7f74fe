#pragma once

#include "video/bitstream/accessunit.h"
#include "video/bitstream/bytestream.h"

#include <cstdint>
#include <optional>

namespace quorvale::h262 {

/// Start code values (ITU-T H.262, table 6-1), the first byte of each unit of the stream.
enum class StartCode : std::uint8_t {
    Picture = 0x00,
    FirstSlice = 0x01,
    LastSlice = 0xAF,
    UserData = 0xB2,
    SequenceHeader = 0xB3,
    Extension = 0xB5,
    GroupOfPictures = 0xB8,
};

/// extension_start_code_identifier (ITU-T H.262, table 6-2), those that are told apart here.
enum class ExtensionId : std::uint8_t { QuantMatrix = 3, PictureCoding = 8 };

/// picture_coding_type (ITU-T H.262, table 6-12)
enum class PictureCodingType : std::uint8_t { I = 1, P = 2, B = 3 };

/// ITU-T H.262, 6.2.3, picture_header()
struct PictureHeader
{
    std::uint32_t temporalReference = 0; ///< temporal_reference
    PictureCodingType type{};            ///< picture_coding_type
};

/// `bytes`: from the start code value on. Nothing if it is cut short or its type is none of ITU-T H.262.
[[nodiscard]] std::optional<PictureHeader> parsePictureHeader(Bytes bytes);

/// extension_start_code_identifier; nothing if there is none. `bytes`: from the start code value on.
[[nodiscard]] std::optional<ExtensionId> parseExtensionId(Bytes bytes);

/// picture_structure of a picture coding extension; nothing if it is cut short or has a reserved value.
[[nodiscard]] std::optional<PictureStructure> parsePictureStructure(Bytes bytes);

} // namespace quorvale::h262
