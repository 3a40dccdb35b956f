// Arranging objects and groups: the Format menu's alignments, sizes and
// spacing; snapping a dragged object to the edges of the others; and the
// groups changed, reordered or deleted as Report > Groups does it.
//
// All of it works on plain values: boxes in surface twips and a report
// definition. The editor turns each result into one command.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "authoring/designer/band_layout.h"
#include "engine/model/report_definition.h"

namespace mervane::authoring::designer {

enum class Arrangement {
  AlignLeft,
  AlignRight,
  AlignTop,
  AlignBottom,
  AlignCentres,  // on the primary object's vertical centre line
  AlignMiddles,  // on the primary object's horizontal centre line
  SameWidth,
  SameHeight,
  SameSize,
  SpaceAcross,  // equal gaps between the leftmost and the rightmost
  SpaceDown,    // equal gaps between the topmost and the lowest
};

// How many objects an arrangement needs before it can do anything.
std::size_t objectsNeeded(Arrangement how);

// `boxes` arranged relative to the one at `primary` (the object clicked
// last), which itself stays where it is. Spacing keeps the two outermost
// boxes in place and moves those between.
std::vector<Box> arrangeBoxes(std::vector<Box> boxes, std::size_t primary, Arrangement how);

// Where a box being moved snaps to the edges of other boxes: the shift to
// add to its place, and the edge lines it now lies on (for guide lines).
struct EdgeSnap {
  Point shift;
  std::optional<std::int32_t> guideX;  // a vertical line at this x
  std::optional<std::int32_t> guideY;  // a horizontal line at this y
};
// Left and right edges snap to the others' left and right edges (top and
// bottom likewise) when within `reach` twips; the nearest one wins.
EdgeSnap snapToEdges(const Box& moving, const std::vector<Box>& others, std::int32_t reach);

// One group of the rearranged list: the number it had (from 1) and what it
// is to be (its field and direction may change).
struct GroupPlace {
  std::int32_t was = 0;
  model::Group group;
};
// Gives the report the groups listed, outermost first: those left out are
// deleted with their header and footer sections and everything in them;
// the others take their new numbers and their sections move to match.
// Summaries of a deleted group become summaries of the whole report. False,
// with the report unchanged, when its sections are not in printing order or
// the list names a group twice or one that does not exist.
bool arrangeGroups(model::ReportDefinition& report, const std::vector<GroupPlace>& groups);

// Whether the header or footer of group `number` holds any object.
bool groupHoldsObjects(const model::ReportDefinition& report, std::int32_t number);

}  // namespace mervane::authoring::designer
