#include "video/exact/stretch.h"

#include <algorithm>

namespace quorvale {

namespace {

constexpr std::size_t kReordering = kMostReordering;
constexpr std::int64_t kUsualCountStep = 2; // of picture order counts, one for each field
constexpr std::size_t kJudgedAtOnce = 8;    // places
constexpr std::size_t kUsualStepsSeen = 40; // places from which the usual distance of display times is taken

// Times come from the file; a difference that does not fit wraps, and is not steady in any case.
std::int64_t stepBetween(std::int64_t earlier, std::int64_t later)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

// `latest`: the last one in output order before it came.
bool hintsAtReordering(const CodedPicture &picture, const CodedPicture &latest)
{
    return picture.hasBSlices || (picture.sequence == latest.sequence &&
                                  picture.pictureOrderCount - latest.pictureOrderCount > kUsualCountStep);
}

} // namespace

Stretch::Stretch(const PictureList &pictures, PictureIndex first)
    : m_order{first}
    , m_end(first + 1)
{
    m_entryPoints.push_back({first, OutputIndex(), pictures.picture(first).promisesNothing()});
}

void Stretch::append(PictureList &pictures, PictureIndex picture)
{
    m_end = picture + 1;
    if (!m_firstHint && hintsAtReordering(pictures.picture(picture), pictures.picture(m_order.back())))
        m_firstHint = picture;
    if (pictures.picture(picture).isOutputBefore(pictures.picture(first()))) {
        ++m_leftOut;
        return;
    }
    const std::optional<std::size_t> place = findPlace(pictures, picture);
    if (!place) {
        pictures.doubt(picture, kOutOfOrder);
        close(pictures, picture);
        return;
    }
    const std::size_t depth = m_order.size() - *place;
    m_order.insert(m_order.begin() + static_cast<std::ptrdiff_t>(*place), picture);
    noteDepth(picture, depth);
    // Everything decoded before it is also output before it.
    if (depth == 0 && pictures.picture(picture).randomAccess != RandomAccess::None)
        m_waitingPoints.push_back(picture);
    judge(pictures, false);
}

// Nothing if another picture has the place, or if the place is too far away.
std::optional<std::size_t> Stretch::findPlace(const PictureList &pictures, PictureIndex picture) const
{
    const CodedPicture &inserted = pictures.picture(picture);
    std::size_t place = m_order.size();
    while (place > 0 && inserted.isOutputBefore(pictures.picture(m_order[place - 1])))
        --place;
    if (m_order.size() - place > kReordering || place == 0 ||
        !pictures.picture(m_order[place - 1]).isOutputBefore(inserted))
        return std::nullopt;
    return place;
}

void Stretch::noteDepth(PictureIndex picture, std::size_t depth)
{
    for (std::size_t d = 0; d <= depth; ++d) {
        if (!m_firstOfDepth.at(d))
            m_firstOfDepth.at(d) = picture;
    }
}

std::optional<PictureIndex> Stretch::firstDeeperThan(std::int64_t depth) const
{
    if (depth >= kMostReordering)
        return std::nullopt;
    return m_firstOfDepth.at(static_cast<std::size_t>(std::max<std::int64_t>(depth + 1, 0)));
}

void Stretch::close(PictureList &pictures, PictureIndex end)
{
    if (m_closed)
        return;
    m_closed = true;
    m_end = end;
    judge(pictures, true);
}

// The last places are not final: pictures that are not scanned yet may come between.
void Stretch::judge(PictureList &pictures, bool toTheEnd)
{
    const std::size_t final = m_order.size() > kReordering ? m_order.size() - kReordering : 0;
    const std::size_t from = m_certainEnd.place();
    if (final <= from || (!toTheEnd && final - from < kJudgedAtOnce))
        return;
    m_certainEnd = OutputIndex(final);
    judgeDisplayTimes(pictures, from, final);
    noteEntryPoints(pictures, from);
}

void Stretch::judgeDisplayTimes(PictureList &pictures, std::size_t from, std::size_t end)
{
    const std::int64_t usual = usualStep(pictures, end);
    for (std::size_t i = from; i < end; ++i) {
        const std::int64_t pts = pictures.picture(m_order[i]).pts;
        if (pts == kNoTimestamp)
            continue;
        const std::int64_t earlier = pictures.picture(m_order[m_lastTimed]).pts;
        if (m_lastTimed < i && earlier != kNoTimestamp) {
            const std::int64_t step = stepBetween(earlier, pts);
            const auto places = static_cast<std::int64_t>(i - m_lastTimed);
            // Pictures shown for two or three fields pass; a lost or a doubled one does not.
            const bool steady = step > 0 && (usual <= 0 || (step / places >= usual / 2 && //
                                                            step / places <= usual + usual / 4 * 3));
            if (!steady)
                return doubtPlaces(pictures, m_lastTimed, i);
        }
        m_lastTimed = i;
    }
}

// The median of the latest steps between neighbours; 0 if there are none.
std::int64_t Stretch::usualStep(const PictureList &pictures, std::size_t end) const
{
    std::vector<std::int64_t> steps;
    for (std::size_t i = std::max<std::size_t>(end, kUsualStepsSeen) - kUsualStepsSeen + 1; i < end; ++i) {
        const std::int64_t earlier = pictures.picture(m_order[i - 1]).pts;
        const std::int64_t later = pictures.picture(m_order[i]).pts;
        if (earlier != kNoTimestamp && later != kNoTimestamp)
            steps.push_back(stepBetween(earlier, later));
    }
    if (steps.empty())
        return 0;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

void Stretch::doubtPlaces(PictureList &pictures, std::size_t earlier, std::size_t later)
{
    pictures.doubt(m_order[earlier], kDisplayTimeUnsteady);
    pictures.doubt(m_order[later], kDisplayTimeUnsteady);
    m_certainEnd = OutputIndex(earlier);
    m_closed = true;
    m_end = std::max(m_order[earlier], m_order[later]);
}

void Stretch::noteEntryPoints(const PictureList &pictures, std::size_t from)
{
    for (std::size_t i = from; i < m_certainEnd.place() && !m_waitingPoints.empty(); ++i) {
        if (m_order[i] == m_waitingPoints.front()) {
            m_entryPoints.push_back({m_order[i], OutputIndex(i), pictures.picture(m_order[i]).promisesNothing()});
            m_waitingPoints.erase(m_waitingPoints.begin());
        }
    }
}

} // namespace quorvale
