#include "video/exact/deliveryorder.h"
#include "video/exact/skipahead.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

constexpr std::int64_t kBehind = 16;     // pictures behind the target that are looked at before anything is skipped
constexpr std::int64_t kReordering = 16; // pictures: as far as H.264 and HEVC can move one
constexpr std::int64_t kNear = 4;        // packets that are not worth a restart
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

} // namespace

std::optional<SkipAheadJump> SkipAhead::plan(std::int64_t current, std::int64_t target)
{
    if (target <= noJumpBefore || current != lastNumber)
        return std::nullopt;
    if (target != plannedTarget) {
        plannedTarget = target;
        nextPlan = 0;
    }
    // Behind a restart the way to a near picture is looked at, too: what is doubtful there must be known.
    if (ahead.next() < nextPlan || (!hasSkipped && (!proven || target - current <= kNear)))
        return std::nullopt;
    dropStaleAnchor();
    if (!anchor)
        return std::nullopt;

    std::int64_t place = target - anchor->number;
    std::int64_t wanted = place + 1 + kBehind;
    // Some of them are delivered before the anchor, some behind the last one wanted.
    while (window().pictureEnd() - anchor->picture < wanted + 2 * kReordering && ahead.fill()) {
    }
    std::vector<std::int64_t> order = deliveryOrder(window(), anchor->picture);
    // At the end of what was read, pictures are still missing in between.
    const std::int64_t certain = std::min(wanted, static_cast<std::int64_t>(order.size()) - kReordering);
    judgeOrder(window(), order, static_cast<std::size_t>(std::max<std::int64_t>(certain, 0)), anchor->delay);
    dropStaleAnchor();
    if (!anchor)
        return std::nullopt;
    if (certain < wanted && !ahead.atEnd()) {
        // Too far ahead, a part is decoded first.
        nextPlan = ahead.next() + static_cast<std::int64_t>(ReadAhead::kMostPackets) / 8;
        return std::nullopt;
    }
    if (certain < wanted) {
        // Near the end of the file which pictures exist is up to the decoder: it gets all that come behind the last
        // one that is certain.
        wanted = certain;
        place = certain - 1 - kBehind;
        if (place <= current - anchor->number) {
            nextPlan = kNever;
            return std::nullopt;
        }
    }
    std::int64_t end = 0;
    for (std::int64_t i = 0; i < wanted; ++i)
        end = std::max(end, window().picture(order[static_cast<std::size_t>(i)]).lastPacket + 1);
    const std::int64_t doubt = window().firstDoubt(window().picture(anchor->picture).firstPacket, end);
    if (doubt < end || !proven) {
        nextPlan = (doubt < end ? doubt : ahead.next()) + 1;
        return std::nullopt;
    }
    return restartFor(std::move(order), place);
}

std::optional<SkipAheadJump> SkipAhead::restartFor(std::vector<std::int64_t> order, std::int64_t place)
{
    const std::int64_t picture = restartPicture(order, place);
    if (picture < 0 || window().picture(picture).firstPacket - ahead.next() <= kNear) {
        nextPlan = kNever;
        return std::nullopt;
    }
    SkipAheadJump jump;
    jump.restartPicture = picture;
    jump.restartPacket = window().picture(picture).firstPacket;
    // The decoder would not know parameters that it is not shown.
    const std::int64_t parameters = window().firstNewParameters(ahead.next(), jump.restartPacket);
    if (parameters < jump.restartPacket) {
        nextPlan = parameters + 1;
        return std::nullopt;
    }
    if (phase == Phase::Unknown &&
        hasFieldsBetween(window().pictureOf(ahead.next()), order[static_cast<std::size_t>(place)]))
        return std::nullopt;
    jump.restartPlace = std::find(order.begin(), order.end(), picture) - order.begin();
    jump.anchorNumber = anchor->number;
    jump.targetPicture = order[static_cast<std::size_t>(place)];
    jump.targetNumber = anchor->number + place;
    for (std::int64_t i = jump.restartPlace; i <= place; ++i) {
        const std::int64_t delivered = order[static_cast<std::size_t>(i)];
        if (i == place || window().picture(delivered).reference)
            jump.deliveries.push_back(delivered);
    }
    jump.order = std::move(order);
    return jump;
}

// The last closed key picture on the way to place `place` of the order that was not decoded yet and behind which
// nothing comes out that was decoded before it; -1 where there is none.
std::int64_t SkipAhead::restartPicture(const std::vector<std::int64_t> &order, std::int64_t place) const
{
    const std::int64_t base = anchor->picture;
    const std::int64_t target = order[static_cast<std::size_t>(place)];
    std::vector<std::int64_t> placeOf(static_cast<std::size_t>(window().pictureEnd() - base), -1);
    for (std::size_t i = 0; i < order.size(); ++i)
        placeOf[static_cast<std::size_t>(order[i] - base)] = static_cast<std::int64_t>(i);

    std::int64_t found = -1;
    std::int64_t latestPlace = -1;
    for (std::int64_t i = base; i <= target; ++i) {
        const std::int64_t here = placeOf[static_cast<std::size_t>(i - base)];
        const CodedPicture &picture = window().picture(i);
        if (picture.closedKey && picture.firstPacket >= ahead.next() && here > latestPlace && here <= place)
            found = i;
        latestPlace = std::max(latestPlace, here);
    }
    return found;
}

bool SkipAhead::hasFieldsBetween(std::int64_t from, std::int64_t to) const
{
    for (; from <= to; ++from) {
        if (window().picture(from).firstPacket != window().picture(from).lastPacket)
            return true;
    }
    return false;
}

void SkipAhead::restarted(const SkipAheadJump &jump)
{
    hasSkipped = true;
    surprised = false;
    strictNow = window().picture(jump.restartPicture).strict;
}

bool SkipAhead::beginsPicture() const
{
    return packet() == window().picture(window().pictureOf(packet())).firstPacket;
}

// Pictures that no other one refers to are left out in front of the target, and do not shift its turn: of those that
// the decoder gets and of those that it delivers before it there are equally many less.
//
//     order      K . . r . . T . r      decoded    K r . . T r . . r
//     delivered  K     r     T . r                 K r     T r   . r     the target still comes with the same packet
bool SkipAhead::isNeeded(const SkipAheadJump &jump) const
{
    const std::int64_t number = window().pictureOf(packet());
    const CodedPicture &picture = window().picture(number);
    return number >= jump.restartPicture &&
           (picture.reference || !picture.comesBefore(window().picture(jump.targetPicture)));
}

bool SkipAhead::isInFront(const SkipAheadJump &jump, std::int64_t packet) const
{
    return window().holdsPacket(packet) &&
           window().picture(window().pictureOf(packet)).comesBefore(window().picture(jump.restartPicture));
}

bool SkipAhead::isPicture(std::int64_t picture, std::int64_t packet) const
{
    return packet == window().picture(picture).firstPacket;
}

void SkipAhead::counted(std::int64_t picture)
{
    ++lastNumber;
    window().picture(picture).delivered = true;
}

void SkipAhead::arrived(const SkipAheadJump &jump)
{
    // The same packets deliver the same pictures, seen from another picture.
    const std::int64_t delay = anchor->delay + jump.restartPlace - (jump.restartPicture - anchor->picture);
    anchor = Anchor{jump.restartPicture, jump.anchorNumber + jump.restartPlace, delay};
    window().discardBefore(jump.restartPicture);
}
