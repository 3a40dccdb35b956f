// Every change the designer makes to a report, as a command that can be
// done and undone. The editor keeps them in one list, so undo and redo
// replay exactly what was done, in either direction, as often as wanted.
//
// A command holds the values before and after its change, never a pointer
// into the report: after it is undone the report is again equal, value for
// value, to what it was before.
#pragma once

#include <compare>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "engine/document.h"

namespace mervane::authoring::designer {

namespace model = engine::model;

// A report object by its section's position and its own position there.
struct ObjectRef {
  std::size_t section = 0;
  std::size_t index = 0;
  auto operator<=>(const ObjectRef&) const = default;
};

// What a command leaves selected.
struct Selection {
  std::vector<ObjectRef> objects;  // sorted, no repeats
  bool hasSection = false;         // a section picked by its band (no objects)
  std::size_t section = 0;
  bool empty() const { return objects.empty() && !hasSection; }
  bool contains(ObjectRef ref) const;
  void add(ObjectRef ref);
  void toggle(ObjectRef ref);
  static Selection ofSection(std::size_t section);
  bool operator==(const Selection&) const = default;
};

class Command {
 public:
  virtual ~Command() = default;
  virtual void apply(engine::ReportDocument& document) = 0;
  virtual void revert(engine::ReportDocument& document) = 0;
  virtual Selection selectionAfterApply() const { return {}; }
  virtual Selection selectionAfterRevert() const { return selectionAfterApply(); }
  // The subreport object whose own report the command changed (its
  // selections are places in that report); none: the main report.
  virtual std::optional<ObjectRef> subreport() const { return std::nullopt; }
};

struct ObjectChange {
  ObjectRef ref;
  model::ReportObject before;
  model::ReportObject after;
};
// Objects changed in place: moved, resized, given new properties.
std::unique_ptr<Command> changeObjects(std::vector<ObjectChange> changes);

struct PlacedObject {
  ObjectRef ref;  // where the object stands once inserted (or where it stood)
  model::ReportObject object;
};
std::unique_ptr<Command> insertObjects(std::vector<PlacedObject> objects);
std::unique_ptr<Command> removeObjects(std::vector<PlacedObject> objects);

// A section's own values (name, height, suppress, page breaks, its
// conditions and the other options), without its objects.
model::Section withoutObjects(const model::Section& section);
// Changes a section's own values; its objects are left alone.
std::unique_ptr<Command> changeSection(std::size_t section, const model::Section& before, const model::Section& after);

// The report-wide parts a person edits through the dialogs.
struct ReportParts {
  Text title;
  model::PageSetup page;
  model::Data data;
  std::vector<model::Formula> formulas;
  std::vector<model::RunningTotal> runningTotals;
  std::vector<model::Parameter> parameters;
  bool operator==(const ReportParts&) const = default;
};
ReportParts reportParts(const engine::ReportDocument& document);
std::unique_ptr<Command> changeReport(ReportParts before, ReportParts after);

// A group as the innermost one, with its header and footer sections.
std::unique_ptr<Command> addGroup(model::Group group);

// A change made inside a subreport's own report: the subreport object's
// report before and after, with what the change left selected there.
struct SubreportChange {
  ObjectRef subreport;
  model::ReportDefinition before;
  model::ReportDefinition after;
  Selection selectionAfterApply;
  Selection selectionAfterRevert;
};
std::unique_ptr<Command> changeSubreport(SubreportChange change);

// Tables of the report added and removed at once (the report's data before
// and after), with the objects that showed columns of the removed tables.
std::unique_ptr<Command> changeTables(model::Data before, model::Data after, std::vector<PlacedObject> removed);

// The sections and groups as a whole, before and after groups were changed,
// reordered or deleted.
struct GroupedSections {
  std::vector<model::Section> sections;
  std::vector<model::Group> groups;
};
std::unique_ptr<Command> changeGroups(GroupedSections before, GroupedSections after);

// `command` leaving the given selections behind it instead of its own.
std::unique_ptr<Command> selecting(std::unique_ptr<Command> command, Selection afterApply, Selection afterRevert);

// Several commands as one: done in order, undone in reverse.
std::unique_ptr<Command> compose(std::vector<std::unique_ptr<Command>> commands);

}  // namespace mervane::authoring::designer
