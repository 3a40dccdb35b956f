// The property panel's rows: what the selection is, as names and values a
// person reads and types, and the command that a typed value makes.
//
// Objects show their place and size, text, font, alignment, number and date
// format, border, colours and can-grow; several objects at once show the
// values they share (a value they do not share is empty) and a value typed
// goes to all of them. A section shows its height, suppress and new page
// after; with nothing selected the report shows its title and page setup.
// Lengths are in twips, font sizes in points, colours as #RRGGBB.
#pragma once

#include <memory>
#include <vector>

#include "authoring/designer/commands.h"

namespace mervane::authoring::designer {

enum class PropertyKind { Text, Number, YesNo, Choice };

struct Property {
  Text key;    // what setProperty takes
  Text label;  // what the person reads
  PropertyKind kind = PropertyKind::Text;
  Text value;  // empty where several objects differ
  std::vector<Text> choices;  // Choice and YesNo
  bool readOnly = false;
};

std::vector<Property> describeSelection(const engine::ReportDocument& document, const Selection& selection);
// Whether a selected object shows text, so that a font, bold, italic,
// underline or text alignment can act on it (lines, boxes, pictures and
// subreports show none).
bool selectionShowsText(const engine::ReportDocument& document, const Selection& selection);

// The command that gives the selection's `key` the value `value`; null when
// the value is refused (not a number, out of range, not a choice) or
// changes nothing.
std::unique_ptr<Command> propertyCommand(const engine::ReportDocument& document, const Selection& selection,
                                         const Text& key, const Text& value);

// How an object's content reads on the design surface: its text, or the
// field, formula, special field or summary in braces.
Text designText(const model::ReportObject& object);

}  // namespace mervane::authoring::designer
