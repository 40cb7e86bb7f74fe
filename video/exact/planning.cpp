#include "video/exact/planning.h"

#include "video/exact/neededpictures.h"

#include <algorithm>

namespace quorvale {

namespace {

// Pictures of which a decoder is shown the parameters first. To read more than a few is not worth it.
constexpr std::size_t kMostPrimers = 6;

WaysIn waysTo(const PictureList &pictures, PacketIndex packet)
{
    WaysIn ways = {-1, -1, -1};
    constexpr std::array<std::int64_t, 3> kBack = {0, 1, 4};
    for (std::size_t i = 0; i < ways.size(); ++i) {
        if (packet.value() >= kBack.at(i))
            ways.at(i) = pictures.packet(packet - kBack.at(i)).position;
    }
    return ways;
}

void addPackets(std::vector<PlannedPacket> &packets, const PictureList &pictures, PictureIndex picture, bool isNeeded,
                bool isSkimmed = false)
{
    const CodedPicture &coded = pictures.picture(picture);
    const std::uint16_t headerBytes = isSkimmed ? coded.references.sliceHeaderBytes : std::uint16_t{0};
    for (PacketIndex packet = coded.firstPacket; packet <= coded.lastPacket(); ++packet)
        packets.push_back({pictures.packet(packet), packet, picture, isNeeded, headerBytes});
}

// Pictures decoded after the entry point and output before it.
void addLeading(RunPlan &plan, const PictureList &pictures, const EntryPoint &entry)
{
    const PictureIndex end = std::min(pictures.pictureEnd(), entry.picture + 2 * kMostReordering);
    for (PictureIndex i = entry.picture + 1; i < end; ++i) {
        if (pictures.picture(i).isOutputBefore(pictures.picture(entry.picture)))
            plan.leading.push_back(i);
    }
}

// By what the pictures themselves say about being referred to:
//     output order   K . . r . . T      decoded   K r . . T
//     what comes out K     r     T                K r     T    . : no other picture refers to it
void leaveOutUnreferenced(NeededPictures &needed, const PictureList &pictures, PictureIndex entry, PictureIndex target,
                          const PlanningRules &rules)
{
    const CodedPicture &first = pictures.picture(entry);
    for (PictureIndex i = entry; i < target; ++i) {
        const CodedPicture &picture = pictures.picture(i);
        // In HEVC nothing that is output after an entry point refers to a picture that is decoded after it and output
        // before it. In H.264 it would be missed all the same, where frame numbers are counted.
        const bool mayBeReferredTo =
            picture.isReference && !(rules.coding == VideoCoding::Hevc && picture.isOutputBefore(first));
        if (!mayBeReferredTo && !picture.setsParameters)
            needed.leaveOut(i);
    }
}

NeededPictures neededFor(const PictureList &pictures, PictureIndex entry, PictureIndex target,
                         const PlanningRules &rules)
{
    NeededPictures needed(entry, target + 1);
    const bool byLists = rules.coding == VideoCoding::Hevc && rules.byReferenceLists;
    if (rules.leavesOut && !(byLists && needed.leaveOutUnreached(pictures)))
        leaveOutUnreferenced(needed, pictures, entry, target, rules);
    if (rules.leavesOut && rules.coding == VideoCoding::H264)
        needed.skimUnreached(pictures);
    return needed;
}

} // namespace

std::int64_t picturesOnTheWay(const PictureList &pictures, PictureIndex entry, PictureIndex target,
                              const PlanningRules &rules)
{
    const NeededPictures needed = neededFor(pictures, entry, target, rules);
    std::int64_t count = 0;
    for (PictureIndex i = entry; i <= target; ++i)
        count += needed.isNeeded(i) ? 1 : 0;
    return count;
}

std::optional<StartPlan> planStart(const PictureList &pictures, PictureIndex entry, const PlanningRules &rules)
{
    StartPlan plan;
    for (const PictureIndex setter : pictures.parameterSetters()) {
        if (setter < rules.primeFrom || setter >= entry)
            continue;
        StartPlan::Primer primer;
        primer.ways = waysTo(pictures, pictures.picture(setter).firstPacket);
        addPackets(primer.packets, pictures, setter, true);
        plan.primers.push_back(std::move(primer));
    }
    if (plan.primers.size() > kMostPrimers)
        return std::nullopt;
    const CodedPicture &first = pictures.picture(entry);
    plan.ways = waysTo(pictures, first.firstPacket);
    plan.coding = rules.coding;
    plan.depth = rules.depth;
    // After an open recovery point even an undamaged stream has memory commands about pictures before it, which would
    // count as errors.
    plan.strict = rules.coding == VideoCoding::Hevc || first.randomAccess == RandomAccess::Idr;
    return plan;
}

std::optional<EntryPoint> entryPointFor(const PictureList &pictures, const Stretch &stretch, OutputIndex place,
                                        OutputIndex from, bool allowInexact)
{
    PictureIndex checked = stretch.at(place) + 1; // from here on no field pairs
    const std::vector<EntryPoint> &points = stretch.entryPoints();
    auto point = std::upper_bound(points.begin(), points.end(), place,
                                  [](OutputIndex wanted, const EntryPoint &p) { return wanted < p.place; });
    while (point != points.begin()) {
        --point;
        if (point->place < from)
            break;
        if (point->picture > stretch.at(place) || (point->isInexact && !allowInexact))
            continue;
        for (; !allowInexact && checked > point->picture; checked = checked - 1) {
            if (pictures.picture(checked - 1).isFieldPair)
                return std::nullopt;
        }
        return *point;
    }
    return std::nullopt;
}

std::optional<RunPlan> planToPicture(const PictureList &pictures, const Stretch &stretch, const EntryPoint &entry,
                                     OutputIndex place, const PlanningRules &rules)
{
    std::optional<StartPlan> start = planStart(pictures, entry.picture, rules);
    if (!start)
        return std::nullopt;
    RunPlan plan;
    plan.start = std::move(*start);
    addLeading(plan, pictures, entry);
    plan.start.showsAll = rules.coding == VideoCoding::H264;
    plan.isDrained = true;
    const PictureIndex target = stretch.at(place);
    const NeededPictures needed = neededFor(pictures, entry.picture, target, rules);
    for (OutputIndex i = entry.place; i <= place; ++i) {
        if (stretch.at(i) <= target && needed.isDecoded(stretch.at(i)))
            plan.outputs.push_back(stretch.at(i));
    }
    for (PictureIndex i = entry.picture; i <= target; ++i) {
        const bool isSkimmed = needed.isNeeded(i) && !needed.isDecoded(i);
        addPackets(plan.packets, pictures, i, needed.isNeeded(i), isSkimmed);
        if (isSkimmed)
            plan.skimmed.push_back(i);
    }
    return plan;
}

std::optional<RunPlan> planToEnd(const PictureList &pictures, const Stretch &stretch, const EntryPoint &entry,
                                 const PlanningRules &rules)
{
    std::optional<StartPlan> start = planStart(pictures, entry.picture, rules);
    if (!start)
        return std::nullopt;
    RunPlan plan;
    plan.start = std::move(*start);
    addLeading(plan, pictures, entry);
    plan.start.strict = false; // The last packets may be torn.
    for (PictureIndex i = entry.picture; i < pictures.pictureEnd(); ++i)
        addPackets(plan.packets, pictures, i, true);
    for (OutputIndex i = entry.place; i < stretch.certainEnd(); ++i)
        plan.outputs.push_back(stretch.at(i));
    return plan;
}

} // namespace quorvale
