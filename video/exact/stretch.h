#pragma once

#include "video/exact/numbers.h"
#include "video/exact/picturelist.h"

#include <array>
#include <limits>
#include <optional>
#include <vector>

namespace quorvale {

/// Pictures by which output order can differ from decode order.
inline constexpr std::int64_t kMostReordering = 16;

/// A random access point of a stretch: pictures that are output from it on need nothing decoded before it.
struct EntryPoint
{
    PictureIndex picture;
    OutputIndex place;
    bool isInexact = false; ///< the standard does not promise that
};

/// A run of pictures without doubt, from a random access point on, in the order in which a decoder outputs them.
///
///     decode order  I0 P3 B1 B2 I6 B4 B5 ...        I0 and I6 are entry points; pictures that are decoded after the
///     output order  I0 B1 B2 P3 B4 B5 I6 ...        first one and output before it are left out
///
/// Grows while the file is scanned, up to the first doubtful picture.
class Stretch
{
public:
    Stretch(const PictureList &pictures, PictureIndex first);

    /// Adds the next picture in decode order, which has no doubt of its own. If its place in the order cannot be right,
    /// or the display times that are now complete, pictures are doubted and the stretch is closed.
    void append(PictureList &pictures, PictureIndex picture);
    /// Ends the stretch before picture `end`.
    void close(PictureList &pictures, PictureIndex end);

    [[nodiscard]] bool isClosed() const { return m_closed; }
    /// The first picture, in decode order, that is not in it; of a closed stretch, the one that closed it or one after
    /// it.
    [[nodiscard]] PictureIndex end() const { return m_end; }
    [[nodiscard]] PictureIndex first() const { return m_order.front(); }

    /// Whether the file ends with it: the only doubt is which of its last pictures exist.
    [[nodiscard]] bool endsFile() const { return m_endsFile; }
    void setEndsFile() { m_endsFile = true; }

    /// How many places are known; the order of the last kMostReordering of them may still change.
    [[nodiscard]] OutputIndex size() const { return OutputIndex(m_order.size()); }
    [[nodiscard]] PictureIndex at(OutputIndex place) const { return m_order[place.place()]; }
    /// Up to here the order is final and was judged.
    [[nodiscard]] OutputIndex certainEnd() const { return m_certainEnd; }
    /// The place of a picture if no picture but those left out at the beginning were reordered.
    [[nodiscard]] OutputIndex placeWithoutReordering(PictureIndex picture) const
    {
        return OutputIndex(picture - first() - m_leftOut);
    }

    /// Entry points whose place is certain, in order.
    [[nodiscard]] const std::vector<EntryPoint> &entryPoints() const { return m_entryPoints; }
    /// The first picture that is decoded after more than `depth` pictures that are output after it; nothing if none is.
    [[nodiscard]] std::optional<PictureIndex> firstDeeperThan(std::int64_t depth) const;
    /// The first picture that FFmpeg's H.264 decoder can take for a sign of reordering, so that it waits for one more
    /// from there on, though none was reordered: one with B slices, or after a leap of the picture order count.
    [[nodiscard]] std::optional<PictureIndex> firstHintAtReordering() const { return m_firstHint; }

private:
    [[nodiscard]] std::optional<std::size_t> findPlace(const PictureList &pictures, PictureIndex picture) const;
    void noteDepth(PictureIndex picture, std::size_t depth);
    void judge(PictureList &pictures, bool toTheEnd);
    void judgeDisplayTimes(PictureList &pictures, std::size_t from, std::size_t end);
    [[nodiscard]] std::int64_t usualStep(const PictureList &pictures, std::size_t end) const;
    void doubtPlaces(PictureList &pictures, std::size_t earlier, std::size_t later);
    void noteEntryPoints(const PictureList &pictures, std::size_t from);

    std::vector<PictureIndex> m_order;
    std::vector<EntryPoint> m_entryPoints;
    std::vector<PictureIndex> m_waitingPoints; ///< entry points whose place is not certain yet
    /// At [d]: the first picture that was decoded after d pictures or more that are output after it.
    std::array<std::optional<PictureIndex>, kMostReordering + 1> m_firstOfDepth;
    OutputIndex m_certainEnd;
    std::size_t m_lastTimed = 0; ///< the last judged place with a display time
    PictureIndex m_end;
    std::int64_t m_leftOut = 0;
    std::optional<PictureIndex> m_firstHint;
    bool m_closed = false;
    bool m_endsFile = false;
};

} // namespace quorvale
