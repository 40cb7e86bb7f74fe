#pragma once

#include "video/exact/run.h"
#include "video/exact/stretch.h"

#include <optional>

namespace quorvale {

/// What a plan depends on besides the pictures.
struct PlanningRules
{
    VideoCoding coding{};
    bool byReferenceLists = true; ///< HEVC: leaves out what they do not reach
    std::int64_t depth = 0;       ///< of the decoder that was seen, see Decoding::depth()
    PictureIndex primeFrom;       ///< the first picture whose parameters the decoder may not know
    bool leavesOut = true;        ///< pictures that no other one refers to
};

/// The last entry point from which the picture at `place` can be decoded, none before `from`; nothing where there
/// is none. `allowInexact`: also one that promises nothing, itself or with what is decoded from it on.
[[nodiscard]] std::optional<EntryPoint> entryPointFor(const PictureList &pictures, const Stretch &stretch,
                                                      OutputIndex place, OutputIndex from, bool allowInexact);

/// To begin at `entry`. Nothing where too many other pictures set parameters first.
[[nodiscard]] std::optional<StartPlan> planStart(const PictureList &pictures, PictureIndex entry,
                                                 const PlanningRules &rules);

/// How many pictures showing picture `target` decodes at most, from random access point `entry` on.
[[nodiscard]] std::int64_t picturesOnTheWay(const PictureList &pictures, PictureIndex entry, PictureIndex target,
                                            const PlanningRules &rules);

/// Decodes the picture at `place` from `entry` on, and what it may need on the way.
[[nodiscard]] std::optional<RunPlan> planToPicture(const PictureList &pictures, const Stretch &stretch,
                                                   const EntryPoint &entry, OutputIndex place,
                                                   const PlanningRules &rules);

/// Decodes everything from `entry` to the end of the file, with as much as is certain foreseen.
[[nodiscard]] std::optional<RunPlan> planToEnd(const PictureList &pictures, const Stretch &stretch,
                                               const EntryPoint &entry, const PlanningRules &rules);

} // namespace quorvale
