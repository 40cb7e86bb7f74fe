#include "tools/loopedgroup/uniteditor.h"
#include "video/bitstream/h262_headers.h"

#include <optional>

namespace quorvale {

namespace {

// Everything that is counted begins anew with each group of pictures: nothing has to be changed.
class Mpeg2Editor : public UnitEditor
{
public:
    UnitFacts look(const ByteVector &unit) override
    {
        UnitFacts facts;
        bool hasSequenceHeader = false;
        ByteStream stream(unit.data(), static_cast<std::int64_t>(unit.size()));
        for (Bytes bytes; stream.next(bytes);) {
            if (bytes.size < 1)
                continue;
            const auto code = static_cast<h262::StartCode>(bytes.data[0]);
            hasSequenceHeader = hasSequenceHeader || code == h262::StartCode::SequenceHeader;
            if (code != h262::StartCode::Picture)
                continue;
            const std::optional<h262::PictureHeader> picture = h262::parsePictureHeader(bytes);
            facts.canBeEntered = hasSequenceHeader && picture && picture->type == h262::PictureCodingType::I;
            break;
        }
        return facts;
    }

    ByteVector changed(const ByteVector &unit, const UnitShift &, const UnitChanges &) override { return unit; }
};

} // namespace

std::unique_ptr<UnitEditor> makeMpeg2Editor()
{
    return std::make_unique<Mpeg2Editor>();
}

} // namespace quorvale
