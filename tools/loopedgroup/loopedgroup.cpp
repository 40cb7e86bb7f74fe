#include "tools/loopedgroup/loopedgroup.h"

#include "tools/loopedgroup/transportfile.h"

#include <algorithm>
#include <stdexcept>

namespace quorvale {

namespace {

std::unique_ptr<UnitEditor> makeEditor(UnitCoding coding)
{
    switch (coding) {
    case UnitCoding::Mpeg2:
        return makeMpeg2Editor();
    case UnitCoding::H264:
        return makeH264Editor();
    case UnitCoding::Hevc:
        break;
    }
    return makeHevcEditor();
}

// Where a group begins.
struct Entry
{
    std::size_t unit;
    UnitFacts facts;
};

std::vector<Entry> findEntries(const TimedStream &video)
{
    const std::unique_ptr<UnitEditor> editor = makeEditor(video.coding);
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < video.units.size(); ++i) {
        const UnitFacts facts = editor->look(video.units[i].bytes);
        if (facts.canBeEntered)
            entries.push_back({i, facts});
    }
    return entries;
}

} // namespace

int writeLoopedGroup(const LoopedGroup &looped)
{
    const TimedStream video = readVideo(looped.source);
    const std::vector<Entry> entries = findEntries(video);
    const auto index = static_cast<std::size_t>(looped.group);
    if (index + static_cast<std::size_t>(looped.groups) >= entries.size())
        throw std::runtime_error("there are only " + std::to_string(entries.size()) + " places to begin at");
    const Entry &begin = entries[index];
    const Entry &end = entries[index + static_cast<std::size_t>(looped.groups)];
    if (std::any_of(video.units.begin() + static_cast<std::ptrdiff_t>(begin.unit),
                    video.units.begin() + static_cast<std::ptrdiff_t>(end.unit),
                    [](const TimedUnit &unit) { return unit.isDamaged; }))
        throw std::runtime_error("the group is damaged");
    // A sequence that begins with the group begins anew with each.
    const UnitShift step = begin.facts.startsSequence
                               ? UnitShift()
                               : UnitShift{end.facts.frameNum - begin.facts.frameNum,
                                           end.facts.picOrderCntLsb - begin.facts.picOrderCntLsb};
    const std::int64_t duration = video.units[end.unit].pts - video.units[begin.unit].pts;

    const std::unique_ptr<UnitEditor> editor = makeEditor(video.coding);
    std::size_t unit = looped.keepsBeginning ? 0 : begin.unit;
    int round = 0;
    UnitShift shift;
    writeVideo(looped.path, video.coding, [&](TimedUnit &written) {
        if (unit == end.unit) {
            unit = begin.unit;
            ++round;
            shift.frameNum += step.frameNum;
            shift.picOrderCntLsb += step.picOrderCntLsb;
        }
        while (looped.dropsLeading && round == 0 && unit > begin.unit && unit < end.unit - 1 &&
               video.units[unit].pts < video.units[begin.unit].pts)
            ++unit;
        if (round == looped.times)
            return false;
        written = video.units[unit];
        written.bytes = editor->changed(written.bytes, shift, looped.changes);
        written.pts += round * duration;
        written.dts += round * duration;
        ++unit;
        return true;
    });
    return static_cast<int>(end.unit - begin.unit);
}

} // namespace quorvale
