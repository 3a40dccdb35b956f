// What the designer shows and allows, and how the designer window's three
// display options (the numbers its callers set) map onto them.
//
// The designer window sets option 13 and option 9 to true and option 18 to
// false when it hands the designer a report. Here they mean:
//   13  the field list is shown beside the design surface
//   9   the grid is shown and objects snap to it
//   18  the report is read-only (false: the user may change it)
// Any other number changes nothing.
#pragma once

#include <cstdint>

namespace mervane::authoring::designer {

struct DesignerOptions {
  bool showFieldList = true;
  bool showGrid = true;
  bool snapToGrid = true;
  bool showRulers = true;
  bool readOnly = false;
  std::int32_t gridStep = 120;  // twips (1/12 inch)
  bool snapToObjects = true;    // a dragged object's edges snap to the others' edges
  std::int32_t snapReach = 60;  // twips: how near an edge must come to snap
};

inline constexpr int kDisplayFieldList = 13;
inline constexpr int kDisplayGrid = 9;
inline constexpr int kDisplayReadOnly = 18;

// Applies one numbered display option; false when the number means nothing here.
inline bool applyDisplayOption(DesignerOptions& options, int number, bool value) {
  switch (number) {
    case kDisplayFieldList: options.showFieldList = value; return true;
    case kDisplayGrid: options.showGrid = value; options.snapToGrid = value; return true;
    case kDisplayReadOnly: options.readOnly = value; return true;
    default: return false;
  }
}

}  // namespace mervane::authoring::designer
