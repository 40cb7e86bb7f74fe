#include "video/exact/deliveryorder.h"

#include <algorithm>

namespace {

constexpr std::int64_t kNone = INT64_MIN;

// Times come from the file; a difference that does not fit wraps, and is not steady either way.
std::int64_t stepFrom(std::int64_t earlier, std::int64_t later)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
}

// The usual distance of two neighbours' display times; 0 where there are no two.
std::int64_t medianStep(const PictureWindow &window, const std::vector<std::int64_t> &order, std::size_t count)
{
    std::vector<std::int64_t> steps;
    for (std::size_t i = 1; i < count; ++i) {
        const std::int64_t earlier = window.picture(order[i - 1]).pts;
        const std::int64_t later = window.picture(order[i]).pts;
        if (earlier != kNone && later != kNone)
            steps.push_back(stepFrom(earlier, later));
    }
    if (steps.empty())
        return 0;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    return *middle;
}

void judgeDisplayTimes(PictureWindow &window, const std::vector<std::int64_t> &order, std::size_t count)
{
    const std::int64_t usual = medianStep(window, order, count);
    std::size_t earlier = count;
    for (std::size_t i = 0; i < count; ++i) {
        const std::int64_t pts = window.picture(order[i]).pts;
        if (pts == kNone)
            continue;
        if (earlier < i) {
            const std::int64_t step = stepFrom(window.picture(order[earlier]).pts, pts);
            const auto places = static_cast<std::int64_t>(i - earlier);
            // Pictures shown for two fields and for three still pass; a lost or a doubled one does not.
            const bool steady = step > 0 && (usual <= 0 || (step / places >= usual / 2 && //
                                                            step / places <= usual + usual / 4 * 3));
            if (!steady) {
                window.doubtPicture(order[earlier], kDisplayTimeUnsteady);
                window.doubtPicture(order[i], kDisplayTimeUnsteady);
            }
        }
        earlier = i;
    }
}

} // namespace

std::vector<std::int64_t> deliveryOrder(const PictureWindow &window, std::int64_t anchor)
{
    std::vector<std::int64_t> order;
    order.reserve(static_cast<std::size_t>(window.pictureEnd() - anchor));
    const CodedPicture &first = window.picture(anchor);
    for (std::int64_t picture = anchor; picture < window.pictureEnd(); ++picture) {
        if (picture == anchor || !window.picture(picture).comesBefore(first))
            order.push_back(picture);
    }
    std::stable_sort(order.begin() + 1, order.end(),
                     [&](std::int64_t a, std::int64_t b) { return window.picture(a).comesBefore(window.picture(b)); });
    return order;
}

void judgeOrder(PictureWindow &window, const std::vector<std::int64_t> &order, std::size_t count, std::int64_t delay)
{
    count = std::min(count, order.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && !window.picture(order[i - 1]).comesBefore(window.picture(order[i]))) {
            window.doubtPicture(order[i - 1], kOrderRepeated);
            window.doubtPicture(order[i], kOrderRepeated);
        }
        if (order[i] > order[0] + static_cast<std::int64_t>(i) + delay)
            window.doubtPicture(order[i], kReorderedTooDeep);
    }
    judgeDisplayTimes(window, order, count);
}
