// The designer's editor: one report document, what is selected in it, the
// gesture under way, and the list of commands that undo and redo walk.
//
// It knows nothing of windows. The control turns mouse and keys into calls
// here, in surface twips (band_layout.h), and paints what it reads back:
// the definition, the selection, and the previews of a gesture. Only a
// finished gesture changes the report, as one command; each change marks
// the report changed through the callback the control gives.
//
// Nothing is ever written to a file here. A report whose layout is not ours
// (hasLayout false) and a read-only designer let a person look and select,
// not change.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "authoring/designer/arrange.h"
#include "authoring/designer/band_layout.h"
#include "authoring/designer/commands.h"
#include "authoring/designer/design_options.h"
#include "authoring/designer/field_list.h"
#include "engine/document.h"
#include "engine/layout/text_measure.h"

namespace mervane::authoring::designer {

enum Modifier : unsigned { kShift = 1, kControl = 2 };

enum class HitKind { Nothing, Handle, Object, BandEdge, BandHeader, BandBody };

struct Hit {
  HitKind kind = HitKind::Nothing;
  std::size_t section = 0;
  ObjectRef object;  // Object and Handle
  int handle = 0;    // Handle
};

struct Gesture {
  enum Kind { None, Move, Resize, BandEdge, Rubber } kind = None;
  Point start;
  Point current;
  int handle = 0;
  std::size_t section = 0;  // BandEdge
  ObjectRef anchor;         // Move and Resize: the object grabbed
  unsigned modifiers = 0;
};

class Editor {
 public:
  Editor() = default;

  // The document to edit and what to call after each change; null: nothing
  // to show. The undo list starts empty.
  void setDocument(engine::ReportDocument* document, std::function<void()> changed = {});
  engine::ReportDocument* document() const { return document_; }
  const model::ReportDefinition* definition() const { return document_ ? &document_->definition : nullptr; }
  bool editable() const { return document_ && document_->hasLayout && !options_.readOnly; }
  DesignerOptions& options() { return options_; }
  const DesignerOptions& options() const { return options_; }
  const BandLayout& layout() const { return layout_; }
  // Counts every change, undo and redo, so that a painter knows when to redraw.
  std::uint64_t revision() const { return revision_; }

  // Selection.
  const Selection& selection() const { return selection_; }
  void select(Selection selection);
  void selectAll();
  // The object clicked last among the selected (the one the others are
  // arranged by); the last of the selection when none of them was clicked.
  std::optional<ObjectRef> primary() const;
  // The section that inserts and pastes go to: the selection's, else the
  // band clicked last, else the details.
  std::size_t currentSection() const;

  Hit hitTest(Point p, std::int32_t slack) const;

  // A mouse gesture: press, any number of drags, release (or cancel).
  void press(Point p, unsigned modifiers, std::int32_t slack);
  void dragTo(Point p);
  void release(Point p);
  void cancelGesture() { gesture_ = {}; }
  const Gesture& gesture() const { return gesture_; }
  // Where the selected objects would be if the gesture ended now, in the
  // order of selection().objects; empty without a move or resize. A move
  // snaps the grabbed object to the grid, then to the edges of the objects
  // not moved (snapGuides() gives the edge lines it lies on).
  std::vector<Box> previewBoxes() const;
  EdgeSnap snapGuides() const;
  Box rubberBand() const { return boxBetween(gesture_.start, gesture_.current); }
  // The height the dragged band edge gives its section.
  std::int32_t previewSectionHeight() const;

  // Arrow keys: move the selection by (dx, dy), or with `resize` grow it.
  void nudge(std::int32_t dx, std::int32_t dy, bool resize);

  // Changes. Each is one command; false when nothing changed.
  bool execute(std::unique_ptr<Command> command);
  bool undo();
  bool redo();
  bool canUndo() const { return !done_.empty(); }
  bool canRedo() const { return !undone_.empty(); }
  bool deleteSelection();
  // The selected objects as bytes of our own clipboard format; empty when
  // nothing is selected.
  std::vector<std::uint8_t> copySelection() const;
  // Puts copied objects into the current section; false for bytes that are
  // not ours.
  bool paste(std::span<const std::uint8_t> bytes);
  // A new object in the current section at the place clicked last; with
  // `parts`, the report's parts change in the same step (a new formula and
  // the field that shows it).
  bool insertObject(model::ReportObject object, const std::optional<ReportParts>& parts = std::nullopt);
  // A new object dropped at `p` on the surface, in the band there.
  bool placeObject(model::ReportObject object, Point p);
  // A column dropped on the surface: the field where it fell and, in the
  // details, a heading with the column's name above it in the page header.
  // Both are as wide as the column's values need (fieldWidth), no wider
  // than the page's printable width to the right of where they start.
  bool dropColumn(const model::FieldRef& column, Point p, const ColumnShape& shape = {});
  // The same at the place clicked last, in the current section.
  bool insertColumn(const model::FieldRef& column, const ColumnShape& shape = {});
  // How texts are measured for sizing new fields (by default, fixed average
  // widths).
  void setMeasure(std::shared_ptr<engine::layout::TextMeasure> measure) { measure_ = std::move(measure); }
  bool setSectionHeight(std::size_t section, std::int32_t height);
  bool changeReportParts(const ReportParts& parts);
  bool addGroup(const model::Group& group);
  // The groups changed, reordered and deleted at once (arrange.h).
  bool changeGroups(const std::vector<GroupPlace>& groups);
  // A section's options (keep together, page breaks, ...) from `values`;
  // its kind, group and objects stay.
  bool setSectionOptions(std::size_t section, const model::Section& values);
  // The selection aligned, sized or spaced relative to the primary object.
  bool canArrange(Arrangement how) const;
  bool arrange(Arrangement how);
  // A text object's text, as typed in place.
  bool setObjectText(ObjectRef ref, const Text& text);
  // Sets a property of the selection by its key (properties.h); false when
  // the value is refused or changes nothing.
  bool setProperty(const Text& key, const Text& value);

  // A name not yet used by any object, from `stem` and a number.
  Text uniqueName(const Text& stem) const;

  // Designing a subreport in place. While one is open, everything above
  // (definition(), selection, gestures, inserts, properties, dialogs' parts)
  // reads and changes the subreport's own report; each change goes onto the
  // one undo list as a change of the subreport object of the main report.
  // Undo and redo work across both: a change of the other report leaves
  // nothing selected here. False when `object` is not a subreport of the
  // main report.
  bool openSubreport(ObjectRef object);
  void closeSubreport();
  const std::optional<ObjectRef>& openedSubreport() const { return subreport_; }
  // The main report, whichever report is open.
  engine::ReportDocument* mainDocument() const { return main_; }
  // A subreport object's links, changed in the main report as one command.
  bool setSubreportLinks(ObjectRef object, std::vector<model::SubreportLink> links);
  // Its links and whether it prints in place or as a link opened on demand
  // (with the link's text), as one command.
  bool setSubreportOptions(ObjectRef object, std::vector<model::SubreportLink> links, bool onDemand, Text linkText);
  // The report's tables changed (Report > Tables): its data becomes `data`
  // and the objects in `removed` go, as one command.
  bool changeTables(const model::Data& data, std::vector<PlacedObject> removed);

 private:
  // The selected objects given the boxes (in the selection's order): the
  // changes for those whose place or size differs.
  std::vector<ObjectChange> changesToBoxes(const model::ReportDefinition& report, const std::vector<Box>& boxes) const;
  void afterChange();
  // After undo or redo: the open subreport read again from the main report,
  // or closed when its object is gone.
  void refreshSubreport();
  void resetView();
  bool placeColumn(const model::FieldRef& column, const ColumnShape& shape, std::size_t section, Point at);
  Point movedDelta(Point to, EdgeSnap* guides = nullptr) const;
  Point workOutMove(Point to, EdgeSnap& guides) const;
  bool moveSelection(const std::vector<Box>& boxes);

  engine::ReportDocument* document_ = nullptr;  // the report open: main_ or subreportDocument_
  engine::ReportDocument* main_ = nullptr;
  std::optional<ObjectRef> subreport_;
  engine::ReportDocument subreportDocument_;
  std::function<void()> changed_;
  DesignerOptions options_;
  BandLayout layout_;
  Selection selection_;
  ObjectRef primary_;
  bool hasPrimary_ = false;
  // The last move worked out, kept while the gesture's point is the same
  // (a frame asks for it more than once).
  struct MoveMemo {
    bool valid = false;
    std::uint64_t revision = 0;
    Point start, to;
    Point delta;
    EdgeSnap guides;
  };
  mutable MoveMemo moveMemo_;
  Gesture gesture_;
  std::vector<std::unique_ptr<Command>> done_;
  std::vector<std::unique_ptr<Command>> undone_;
  std::uint64_t revision_ = 0;
  std::size_t lastSection_ = static_cast<std::size_t>(-1);
  Point insertAt_;  // section-local
  std::shared_ptr<engine::layout::TextMeasure> measure_ = std::make_shared<engine::layout::ApproximateMeasure>();
};

}  // namespace mervane::authoring::designer
