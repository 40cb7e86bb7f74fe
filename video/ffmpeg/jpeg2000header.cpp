#include "video/ffmpeg/jpeg2000header.h"

#include <algorithm>
#include <limits>

namespace quorvale::ffmpeg {

namespace {

// ITU-T T.800, Table A.2
enum Marker : std::uint32_t {
    SOC = 0xFF4F,
    SIZ = 0xFF51,
    COD = 0xFF52,
    COC = 0xFF53,
    SOT = 0xFF90,
    SOD = 0xFF93,
    EOC = 0xFFD9,
    FirstWithoutSegment = 0xFF30,
    LastWithoutSegment = 0xFF3F,
};

constexpr std::size_t kMostComponents = 4; // of FFmpeg's decoder
constexpr int kMostBoxesBefore = 16;

// Past the end there are zeros.
class ByteReader
{
public:
    ByteReader(const std::uint8_t *data, std::size_t size)
        : m_data(data)
        , m_size(size)
    {
    }

    /// The lowest 32 bits of so many bytes.
    std::uint32_t read(int bytes)
    {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i, ++m_position)
            value = value << 8 | (m_position < m_size ? m_data[m_position] : 0U);
        return value;
    }

    [[nodiscard]] std::size_t position() const { return m_position; }
    [[nodiscard]] std::size_t left() const { return m_size - std::min(m_position, m_size); }
    void goTo(std::size_t position) { m_position = std::min(position, m_size); }

private:
    const std::uint8_t *m_data;
    std::size_t m_size;
    std::size_t m_position = 0;
};

class HeaderReader
{
public:
    HeaderReader(const std::uint8_t *data, std::size_t size)
        : m_bytes(data, size)
    {
    }

    // ITU-T T.800, A.3, as the clauses below
    std::optional<Jpeg2000Header> read()
    {
        if (!findCodestream())
            return std::nullopt;
        while (m_bytes.left() >= 2) {
            const std::uint32_t marker = m_bytes.read(2);
            if (marker >= FirstWithoutSegment && marker <= LastWithoutSegment)
                continue;
            if (marker == EOC)
                break;
            if (marker == SOD && (!m_isInTile || m_tilePartEnd < m_bytes.position()))
                return std::nullopt;
            if (marker == SOD) {
                m_bytes.goTo(m_tilePartEnd);
                continue;
            }
            const std::size_t begin = m_bytes.position();
            const std::size_t length = m_bytes.read(2);
            if (length < 2 || m_bytes.left() < length - 2)
                break; // FFmpeg decodes what was there until here
            if (!readSegment(marker, begin))
                return std::nullopt;
            m_bytes.goTo(begin + length);
        }
        const bool isWhole = !m_header.components.empty() && m_hasStyle;
        return isWhole ? std::optional(m_header) : std::nullopt;
    }

private:
    // Annex I: where there are boxes, it is in one of type jp2c.
    bool findCodestream()
    {
        constexpr std::uint32_t kSignatureBytes = 12;
        constexpr std::uint32_t kSignature = 0x6A502020; // "jP  "
        constexpr std::uint32_t kSignatureValue = 0x0D0A870A;
        constexpr std::uint32_t kCodestream = 0x6A703263; // "jp2c"
        const bool isInBoxes =
            m_bytes.read(4) == kSignatureBytes && m_bytes.read(4) == kSignature && m_bytes.read(4) == kSignatureValue;
        if (!isInBoxes)
            m_bytes.goTo(0);
        bool isFound = !isInBoxes;
        for (int box = 0; box < kMostBoxesBefore && !isFound; ++box) {
            const std::size_t begin = m_bytes.position();
            const std::size_t length = m_bytes.read(4);
            isFound = m_bytes.read(4) == kCodestream;
            if (isFound && length == 1) // XLBox follows
                m_bytes.read(8);
            if (!isFound && (length < 8 || m_bytes.left() < length - 8))
                return false;
            if (!isFound)
                m_bytes.goTo(begin + length);
        }
        while (isFound && m_bytes.left() >= 2) {
            const std::size_t begin = m_bytes.position();
            if (m_bytes.read(2) == SOC)
                return true;
            m_bytes.goTo(begin + 1);
        }
        return false;
    }

    bool readSegment(std::uint32_t marker, std::size_t begin)
    {
        switch (marker) {
        case SIZ:
            return m_header.components.empty() && readSize();
        case COD:
            return !m_isInTile && !m_header.components.empty() && readDefaultStyle();
        case COC:
            return !m_isInTile && m_hasStyle && readComponentStyle();
        case SOT:
            return readTilePart(begin);
        default:
            return true;
        }
    }

    // A.5.1
    bool readSize()
    {
        m_bytes.read(2); // Rsiz
        std::array<std::int64_t, 8> sides{};
        for (std::int64_t &side : sides) {
            side = m_bytes.read(4);
            if (side > std::numeric_limits<std::int32_t>::max())
                return false;
        }
        const auto [xSiz, ySiz, xoSiz, yoSiz, xtSiz, ytSiz, xtoSiz, ytoSiz] = sides;
        m_header.picture = {xoSiz, yoSiz, xSiz, ySiz};
        m_header.firstTile = {xtoSiz, ytoSiz, xtoSiz + xtSiz, ytoSiz + ytSiz};
        const std::size_t components = m_bytes.read(2); // Csiz
        if (xoSiz >= xSiz || yoSiz >= ySiz || xtSiz == 0 || ytSiz == 0 || xtoSiz > xoSiz || ytoSiz > yoSiz ||
            m_header.firstTile.right <= xoSiz || m_header.firstTile.bottom <= yoSiz || components > kMostComponents)
            return false;
        for (std::size_t i = 0; i < components; ++i) {
            Jpeg2000Header::Component component;
            m_bytes.read(1);                // Ssiz
            component.dx = m_bytes.read(1); // XRsiz
            component.dy = m_bytes.read(1); // YRsiz
            if (component.dx < 1 || component.dx > 4 || component.dy < 1 || component.dy > 4)
                return false;
            m_header.components.push_back(component);
        }
        return components > 0;
    }

    // A.6.1
    bool readDefaultStyle()
    {
        const bool hasPrecincts = (m_bytes.read(1) & 1) != 0; // Scod
        m_bytes.read(1);                                      // the order of progression
        m_header.layers = m_bytes.read(2);
        m_bytes.read(1); // the transformation between components
        Jpeg2000Header::Style style;
        if (!readStyle(style, hasPrecincts))
            return false;
        for (Jpeg2000Header::Component &component : m_header.components)
            component.style = style;
        m_hasStyle = true;
        return true;
    }

    // A.6.2
    bool readComponentStyle()
    {
        const std::size_t component = m_bytes.read(1);
        const bool hasPrecincts = (m_bytes.read(1) & 1) != 0; // Scoc
        return component < m_header.components.size() && readStyle(m_header.components[component].style, hasPrecincts);
    }

    // Table A.20
    bool readStyle(Jpeg2000Header::Style &style, bool hasPrecincts)
    {
        style.levels = m_bytes.read(1);
        style.log2BlockWidth = static_cast<int>(m_bytes.read(1) & 15) + 2;
        style.log2BlockHeight = static_cast<int>(m_bytes.read(1) & 15) + 2;
        m_bytes.read(2); // the style of the code-blocks, and the transformation
        if (style.levels > Jpeg2000Header::kMostLevels || style.log2BlockWidth + style.log2BlockHeight > 12)
            return false;
        for (std::size_t resolution = 0; resolution <= style.levels; ++resolution) {
            const std::uint32_t precinct = hasPrecincts ? m_bytes.read(1) : 0xFF;
            style.log2PrecinctWidths[resolution] = static_cast<int>(precinct & 15);
            style.log2PrecinctHeights[resolution] = static_cast<int>(precinct >> 4);
            if (resolution > 0 && ((precinct & 15) == 0 || precinct >> 4 == 0))
                return false;
        }
        return true;
    }

    // A.4.2
    bool readTilePart(std::size_t begin)
    {
        m_bytes.read(2); // Isot
        const std::size_t length = m_bytes.read(4);
        const std::size_t marker = begin - 2;
        const std::size_t left = m_bytes.position() + m_bytes.left() - marker;
        m_isInTile = true;
        m_tilePartEnd = marker + (length == 0 ? left : length);
        return length <= left;
    }

    ByteReader m_bytes;
    Jpeg2000Header m_header;
    std::size_t m_tilePartEnd = 0;
    bool m_hasStyle = false;
    bool m_isInTile = false;
};

} // namespace

std::optional<Jpeg2000Header> readJpeg2000Header(const std::uint8_t *data, std::size_t size)
{
    return HeaderReader(data, size).read();
}

} // namespace quorvale::ffmpeg
