// The editor: selection, gestures, and the command list.
#include "authoring/designer/editor.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "authoring/designer/properties.h"
#include "engine/layout/text_flow.h"
#include "engine/model/definition_stream.h"

namespace mervane::authoring::designer {

namespace {

constexpr std::int32_t kNewObjectHeight = 240;

ObjectRef objectOf(const Selection& s, std::size_t i) { return s.objects[i]; }

}  // namespace

void Editor::setDocument(engine::ReportDocument* document, std::function<void()> changed) {
  document_ = main_ = document;
  subreport_.reset();
  subreportDocument_ = {};
  changed_ = std::move(changed);
  done_.clear();
  undone_.clear();
  resetView();
}

void Editor::resetView() {
  selection_ = {};
  gesture_ = {};
  lastSection_ = static_cast<std::size_t>(-1);
  insertAt_ = {};
  layout_ = document_ ? BandLayout(document_->definition) : BandLayout();
  ++revision_;
}

namespace {

const model::ReportObject* subreportObject(const engine::ReportDocument* main, ObjectRef ref) {
  if (!main) return nullptr;
  const auto& sections = main->definition.sections;
  if (ref.section >= sections.size() || ref.index >= sections[ref.section].objects.size()) return nullptr;
  const model::ReportObject& o = sections[ref.section].objects[ref.index];
  if (o.kind != model::ObjectKind::Subreport || !o.subreport.definition) return nullptr;
  return &o;
}

}  // namespace

bool Editor::openSubreport(ObjectRef object) {
  const model::ReportObject* o = subreportObject(main_, object);
  if (!o) return false;
  subreportDocument_ = engine::ReportDocument{};
  subreportDocument_.definition = *o->subreport.definition;
  subreportDocument_.title = o->subreport.name;
  subreportDocument_.hasLayout = main_->hasLayout;
  subreportDocument_.logOn = main_->logOn;
  subreport_ = object;
  document_ = &subreportDocument_;
  resetView();
  return true;
}

void Editor::closeSubreport() {
  if (!subreport_) return;
  subreport_.reset();
  subreportDocument_ = {};
  document_ = main_;
  resetView();
}

void Editor::refreshSubreport() {
  if (!subreport_) return;
  const model::ReportObject* o = subreportObject(main_, *subreport_);
  if (!o) {
    closeSubreport();
    return;
  }
  subreportDocument_.definition = *o->subreport.definition;
  subreportDocument_.title = o->subreport.name;
}

bool Editor::setSubreportLinks(ObjectRef object, std::vector<model::SubreportLink> links) {
  const model::ReportObject* o = subreportObject(main_, object);
  return o && setSubreportOptions(object, std::move(links), o->subreport.onDemand, o->subreport.linkText);
}

bool Editor::setSubreportOptions(ObjectRef object, std::vector<model::SubreportLink> links, bool onDemand,
                                 Text linkText) {
  const model::ReportObject* o = subreportObject(main_, object);
  if (!o || !main_->hasLayout || options_.readOnly) return false;
  if (o->subreport.links == links && o->subreport.onDemand == onDemand && o->subreport.linkText == linkText)
    return false;
  model::ReportObject after = *o;
  after.subreport.links = std::move(links);
  after.subreport.onDemand = onDemand;
  after.subreport.linkText = std::move(linkText);
  auto command = changeObjects({{object, *o, std::move(after)}});
  command->apply(*main_);
  if (!subreport_) selection_ = command->selectionAfterApply();
  done_.push_back(std::move(command));
  undone_.clear();
  afterChange();
  return true;
}

bool Editor::changeTables(const model::Data& data, std::vector<PlacedObject> removed) {
  if (!document_ || (data == document_->definition.data && removed.empty())) return false;
  return execute(designer::changeTables(document_->definition.data, data, std::move(removed)));
}

void Editor::select(Selection selection) {
  const auto* report = definition();
  if (!report) {
    selection_ = {};
    return;
  }
  // Only places that exist.
  std::erase_if(selection.objects, [report](ObjectRef r) {
    return r.section >= report->sections.size() || r.index >= report->sections[r.section].objects.size();
  });
  if (selection.hasSection && selection.section >= report->sections.size()) selection.hasSection = false;
  if (selection.hasSection) lastSection_ = selection.section;
  selection_ = std::move(selection);
  ++revision_;
}

void Editor::selectAll() {
  Selection all;
  if (const auto* report = definition())
    for (std::size_t s = 0; s < report->sections.size(); ++s)
      for (std::size_t i = 0; i < report->sections[s].objects.size(); ++i) all.objects.push_back({s, i});
  select(std::move(all));
}

std::size_t Editor::currentSection() const {
  const auto* report = definition();
  if (!report || report->sections.empty()) return 0;
  if (!selection_.objects.empty()) return selection_.objects.front().section;
  if (selection_.hasSection) return selection_.section;
  if (lastSection_ < report->sections.size()) return lastSection_;
  for (std::size_t s = 0; s < report->sections.size(); ++s)
    if (report->sections[s].kind == model::SectionKind::Details) return s;
  return 0;
}

Hit Editor::hitTest(Point p, std::int32_t slack) const {
  const auto* report = definition();
  if (!report) return {};
  // Handles of the selected objects lie above everything.
  for (ObjectRef r : selection_.objects) {
    const Box box = layout_.objectBox(r.section, report->sections[r.section].objects[r.index]);
    for (int h = 0; h < kHandleCount; ++h) {
      const Point at = handlePoint(box, h);
      if (std::abs(p.x - at.x) <= slack && std::abs(p.y - at.y) <= slack) return {HitKind::Handle, r.section, r, h};
    }
  }
  // Objects drawn last lie on top: search from the end. An object may stand
  // outside its own band and is still picked where it is drawn.
  for (std::size_t sec = report->sections.size(); sec-- > 0;) {
    const auto& objects = report->sections[sec].objects;
    for (std::size_t i = objects.size(); i-- > 0;)
      if (layout_.objectBox(sec, objects[i]).contains(p, slack)) return {HitKind::Object, sec, {sec, i}, 0};
  }
  // A band's lower edge, from just above or just below it.
  for (const Band& b : layout_.bands())
    if (std::abs(p.y - b.bottom()) <= slack) return {HitKind::BandEdge, b.section, {}, 0};
  const Band* band = layout_.bandAt(p.y);
  if (!band) return {};
  if (p.y < band->bodyTop) return {HitKind::BandHeader, band->section, {}, 0};
  return {HitKind::BandBody, band->section, {}, 0};
}

void Editor::press(Point p, unsigned modifiers, std::int32_t slack) {
  gesture_ = {};
  if (!document_) return;
  const Hit hit = hitTest(p, slack);
  const bool adding = (modifiers & (kShift | kControl)) != 0;
  gesture_.start = gesture_.current = p;
  gesture_.modifiers = modifiers;
  switch (hit.kind) {
    case HitKind::Handle:
      gesture_.kind = editable() ? Gesture::Resize : Gesture::None;
      gesture_.handle = hit.handle;
      gesture_.anchor = hit.object;
      break;
    case HitKind::Object: {
      Selection s = selection_;
      if (adding)
        s.toggle(hit.object);
      else if (!s.contains(hit.object)) {
        s = {};
        s.add(hit.object);
      }
      select(std::move(s));
      if (selection_.contains(hit.object)) primary_ = hit.object, hasPrimary_ = true;
      if (selection_.contains(hit.object) && editable()) {
        gesture_.kind = Gesture::Move;
        gesture_.anchor = hit.object;
      }
      break;
    }
    case HitKind::BandEdge:
      select(Selection::ofSection(hit.section));
      if (editable()) {
        gesture_.kind = Gesture::BandEdge;
        gesture_.section = hit.section;
      }
      break;
    case HitKind::BandHeader: select(Selection::ofSection(hit.section)); break;
    case HitKind::BandBody:
    case HitKind::Nothing:
      if (hit.kind == HitKind::BandBody) {
        lastSection_ = hit.section;
        const Band* band = layout_.band(hit.section);
        insertAt_ = {std::max(0, snap(p.x, options_.snapToGrid ? options_.gridStep : 0)),
                     std::max(0, snap(p.y - band->bodyTop, options_.snapToGrid ? options_.gridStep : 0))};
      }
      if (!adding) select({});
      gesture_.kind = Gesture::Rubber;
      gesture_.section = hit.section;
      break;
  }
}

void Editor::dragTo(Point p) {
  if (gesture_.kind != Gesture::None) gesture_.current = p;
}

Point Editor::movedDelta(Point to, EdgeSnap* guides) const {
  MoveMemo& memo = moveMemo_;
  if (memo.valid && memo.revision == revision_ && memo.start == gesture_.start && memo.to == to) {
    if (guides) *guides = memo.guides;
    return memo.delta;
  }
  memo = {true, revision_, gesture_.start, to, {}, {}};
  memo.delta = workOutMove(to, memo.guides);
  if (guides) *guides = memo.guides;
  return memo.delta;
}

Point Editor::workOutMove(Point to, EdgeSnap& guides) const {
  const auto* report = definition();
  Point d{to.x - gesture_.start.x, to.y - gesture_.start.y};
  if (!report || selection_.objects.empty()) return d;
  // The grabbed object's corner lands on the grid, then on a near edge of
  // an object that stays; the others keep their distance from it.
  const ObjectRef a = gesture_.anchor;
  if (a.section < report->sections.size() && a.index < report->sections[a.section].objects.size()) {
    const auto& o = report->sections[a.section].objects[a.index];
    if (options_.snapToGrid) {
      d.x = snap(o.x + d.x, options_.gridStep) - o.x;
      d.y = snap(o.y + d.y, options_.gridStep) - o.y;
    }
    if (options_.snapToObjects) {
      std::vector<Box> others;
      for (std::size_t s = 0; s < report->sections.size(); ++s)
        for (std::size_t i = 0; i < report->sections[s].objects.size(); ++i)
          if (!selection_.contains({s, i})) others.push_back(layout_.objectBox(s, report->sections[s].objects[i]));
      Box moved = layout_.objectBox(a.section, o);
      moved.x += d.x, moved.y += d.y;
      const EdgeSnap edges = snapToEdges(moved, others, options_.snapReach);
      d.x += edges.shift.x, d.y += edges.shift.y;
      guides = edges;
    }
  }
  // Not past the surface's left edge or above the first band's body,
  // unless already there.
  std::int32_t minX = std::numeric_limits<std::int32_t>::max(), minY = minX;
  for (ObjectRef r : selection_.objects) {
    const Box b = layout_.objectBox(r.section, report->sections[r.section].objects[r.index]);
    minX = std::min(minX, b.x);
    minY = std::min(minY, b.y);
  }
  const std::int32_t top = layout_.bands().empty() ? 0 : layout_.bands().front().bodyTop;
  if (minX >= 0) d.x = std::max(d.x, -minX);
  if (minY >= top) d.y = std::max(d.y, top - minY);
  return d;
}

EdgeSnap Editor::snapGuides() const {
  EdgeSnap guides;
  if (gesture_.kind == Gesture::Move) movedDelta(gesture_.current, &guides);
  return guides;
}

std::optional<ObjectRef> Editor::primary() const {
  if (selection_.objects.empty()) return std::nullopt;
  if (hasPrimary_ && selection_.contains(primary_)) return primary_;
  return selection_.objects.back();
}

std::vector<Box> Editor::previewBoxes() const {
  std::vector<Box> boxes;
  const auto* report = definition();
  if (!report || (gesture_.kind != Gesture::Move && gesture_.kind != Gesture::Resize)) return boxes;
  const std::int32_t step = options_.snapToGrid ? options_.gridStep : 0;
  const Point move = gesture_.kind == Gesture::Move ? movedDelta(gesture_.current) : Point{};
  Point size{snap(gesture_.current.x - gesture_.start.x, step), snap(gesture_.current.y - gesture_.start.y, step)};
  boxes.reserve(selection_.objects.size());
  for (ObjectRef r : selection_.objects) {
    Box box = layout_.objectBox(r.section, report->sections[r.section].objects[r.index]);
    if (gesture_.kind == Gesture::Move)
      box.x += move.x, box.y += move.y;
    else
      box = resizeBox(box, gesture_.handle, size.x, size.y);
    boxes.push_back(box);
  }
  return boxes;
}

std::int32_t Editor::previewSectionHeight() const {
  const Band* band = layout_.band(gesture_.section);
  if (!band) return 0;
  const std::int32_t y = gesture_.current.y - band->bodyTop;
  return std::clamp(snap(y, options_.snapToGrid ? options_.gridStep : 0), 0, 1000000);
}

void Editor::release(Point p) {
  dragTo(p);
  const Gesture g = gesture_;
  const auto* report = definition();
  if (!report) {
    gesture_ = {};
    return;
  }
  switch (g.kind) {
    case Gesture::Move: {
      // A click without a drag moves nothing (not even onto the grid).
      const std::vector<Box> boxes = g.current == g.start ? std::vector<Box>{} : previewBoxes();
      gesture_ = {};
      if (boxes.empty()) return;
      moveSelection(boxes);
      return;
    }
    case Gesture::Resize: {
      std::vector<ObjectChange> changes = changesToBoxes(*report, previewBoxes());
      gesture_ = {};
      if (!changes.empty()) execute(changeObjects(std::move(changes)));
      return;
    }
    case Gesture::BandEdge: {
      const std::int32_t height = previewSectionHeight();
      gesture_ = {};
      setSectionHeight(g.section, height);
      return;
    }
    case Gesture::Rubber: {
      gesture_ = {};
      const Box band = boxBetween(g.start, g.current);
      // A click without a drag picks the band's section.
      if (band.width == 0 && band.height == 0) {
        if (!(g.modifiers & (kShift | kControl)) && layout_.bandAt(g.start.y)) select(Selection::ofSection(g.section));
        return;
      }
      Selection s = (g.modifiers & (kShift | kControl)) ? selection_ : Selection{};
      for (std::size_t sec = 0; sec < report->sections.size(); ++sec) {
        const auto& objects = report->sections[sec].objects;
        for (std::size_t i = 0; i < objects.size(); ++i)
          if (layout_.objectBox(sec, objects[i]).intersects(band)) s.add({sec, i});
      }
      select(std::move(s));
      return;
    }
    case Gesture::None: break;
  }
  gesture_ = {};
}

// Each object goes to the band that holds its new top edge (or stays in
// its own when it falls outside every band), keeping its look; objects that
// change section go to the end of their new section's list.
bool Editor::moveSelection(const std::vector<Box>& boxes) {
  const auto* report = definition();
  if (!report || boxes.size() != selection_.objects.size()) return false;
  std::vector<ObjectChange> stay;
  std::vector<PlacedObject> leaving, arriving;
  std::vector<std::size_t> removed(report->sections.size(), 0), added(report->sections.size(), 0);
  std::vector<std::pair<ObjectRef, std::size_t>> staying;  // ref, and the target for those arriving
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const ObjectRef r = objectOf(selection_, i);
    const model::ReportObject& before = report->sections[r.section].objects[r.index];
    const Band* band = layout_.bandAt(boxes[i].y);
    if (!band) band = layout_.band(r.section);
    model::ReportObject after = before;
    after.x = boxes[i].x;
    after.y = boxes[i].y - band->bodyTop;
    if (after.y < 0 && (band->section != r.section || before.y >= 0)) after.y = 0;
    if (band->section == r.section) {
      if (!(after == before)) stay.push_back({r, before, std::move(after)});
      continue;
    }
    leaving.push_back({r, before});
    ++removed[r.section];
    arriving.push_back({{band->section, 0}, std::move(after)});
  }
  if (leaving.empty()) return !stay.empty() && execute(changeObjects(std::move(stay)));
  // Places once the leaving objects are gone.
  const auto shifted = [&](ObjectRef r) {
    std::size_t below = 0;
    for (const auto& l : leaving)
      if (l.ref.section == r.section && l.ref.index < r.index) ++below;
    return ObjectRef{r.section, r.index - below};
  };
  Selection after;
  for (ObjectRef r : selection_.objects)
    if (std::none_of(leaving.begin(), leaving.end(), [r](const PlacedObject& l) { return l.ref == r; })) after.add(shifted(r));
  for (auto& a : arriving) {
    const std::size_t s = a.ref.section;
    a.ref.index = report->sections[s].objects.size() - removed[s] + added[s]++;
    after.add(a.ref);
  }
  std::vector<std::unique_ptr<Command>> steps;
  if (!stay.empty()) steps.push_back(changeObjects(std::move(stay)));
  steps.push_back(removeObjects(std::move(leaving)));
  steps.push_back(insertObjects(std::move(arriving)));
  return execute(selecting(compose(std::move(steps)), std::move(after), selection_));
}

void Editor::nudge(std::int32_t dx, std::int32_t dy, bool resize) {
  const auto* report = definition();
  if (!report || !editable()) return;
  std::vector<ObjectChange> changes;
  for (ObjectRef r : selection_.objects) {
    const model::ReportObject& before = report->sections[r.section].objects[r.index];
    model::ReportObject after = before;
    if (resize) {
      after.width = std::max(0, before.width + dx);
      after.height = std::max(0, before.height + dy);
    } else {
      after.x = before.x + dx;
      after.y = before.y + dy;
    }
    if (!(after == before)) changes.push_back({r, before, std::move(after)});
  }
  if (!changes.empty()) execute(changeObjects(std::move(changes)));
}

bool Editor::execute(std::unique_ptr<Command> command) {
  if (!command || !editable()) return false;
  if (subreport_) {
    // Read again first: the run's parameter values may have been given
    // since it was opened, and the change must not take them back.
    refreshSubreport();
    if (!subreport_) return false;
    // Done in the subreport's report, kept as a change of the main report.
    SubreportChange change{*subreport_, subreportDocument_.definition, {}, {}, selection_};
    command->apply(subreportDocument_);
    change.after = subreportDocument_.definition;
    change.selectionAfterApply = command->selectionAfterApply();
    command = changeSubreport(std::move(change));
    command->apply(*main_);
  } else {
    command->apply(*document_);
  }
  selection_ = command->selectionAfterApply();
  done_.push_back(std::move(command));
  undone_.clear();
  afterChange();
  return true;
}

bool Editor::undo() {
  if (done_.empty() || !editable()) return false;
  gesture_ = {};
  Command& command = *done_.back();
  command.revert(*main_);
  refreshSubreport();
  selection_ = command.subreport() == subreport_ ? command.selectionAfterRevert() : Selection{};
  undone_.push_back(std::move(done_.back()));
  done_.pop_back();
  afterChange();
  return true;
}

bool Editor::redo() {
  if (undone_.empty() || !editable()) return false;
  gesture_ = {};
  Command& command = *undone_.back();
  command.apply(*main_);
  refreshSubreport();
  selection_ = command.subreport() == subreport_ ? command.selectionAfterApply() : Selection{};
  done_.push_back(std::move(undone_.back()));
  undone_.pop_back();
  afterChange();
  return true;
}

void Editor::afterChange() {
  layout_ = BandLayout(document_->definition);
  select(std::move(selection_));
  ++revision_;
  if (changed_) changed_();
}

bool Editor::deleteSelection() {
  const auto* report = definition();
  if (!report || selection_.objects.empty()) return false;
  std::vector<PlacedObject> gone;
  for (ObjectRef r : selection_.objects) gone.push_back({r, report->sections[r.section].objects[r.index]});
  return execute(removeObjects(std::move(gone)));
}

std::vector<std::uint8_t> Editor::copySelection() const {
  const auto* report = definition();
  if (!report || selection_.objects.empty()) return {};
  model::ReportDefinition clip;
  clip.page = report->page;
  model::Section& holder = clip.sections.emplace_back();
  for (ObjectRef r : selection_.objects) holder.objects.push_back(report->sections[r.section].objects[r.index]);
  // Formulas travel along, so that a formula field pasted into another report can be defined there.
  clip.formulas = report->formulas;
  return model::writeDefinition(clip);
}

bool Editor::paste(std::span<const std::uint8_t> bytes) {
  const auto* report = definition();
  if (!report || report->sections.empty() || !editable()) return false;
  auto read = model::readDefinition(bytes);
  if (!read.definition) return false;
  const std::size_t target = currentSection();
  const auto& existing = report->sections[target].objects;
  std::vector<model::ReportObject> incoming;
  for (auto& s : read.definition->sections)
    for (auto& o : s.objects) incoming.push_back(std::move(o));
  if (incoming.empty()) return false;
  // Pasted where the same objects already stand, they move one grid step
  // down and right, so that each paste can be seen.
  const std::int32_t step = std::max<std::int32_t>(options_.gridStep, 1);
  std::int32_t shift = 0;
  const auto occupied = [&](std::int32_t by) {
    return std::any_of(existing.begin(), existing.end(), [&](const model::ReportObject& e) {
      return e.x == incoming.front().x + by && e.y == incoming.front().y + by;
    });
  };
  for (int tries = 0; occupied(shift) && tries < 1000; ++tries) shift += step;
  std::vector<std::unique_ptr<Command>> steps;
  std::vector<PlacedObject> placed;
  std::size_t index = existing.size();
  for (auto& o : incoming) {
    o.x += shift;
    o.y += shift;
    placed.push_back({{target, index++}, std::move(o)});
  }
  steps.push_back(insertObjects(std::move(placed)));
  // Formulas the pasted objects use that this report lacks come with them.
  ReportParts parts = reportParts(*document_);
  bool newFormulas = false;
  for (const auto& f : read.definition->formulas)
    if (std::none_of(parts.formulas.begin(), parts.formulas.end(), [&](const auto& g) { return equalsNoCase(g.name, f.name); }))
      parts.formulas.push_back(f), newFormulas = true;
  if (newFormulas) steps.push_back(changeReport(reportParts(*document_), std::move(parts)));
  return execute(compose(std::move(steps)));
}

bool Editor::insertObject(model::ReportObject object, const std::optional<ReportParts>& parts) {
  const auto* report = definition();
  if (!report || report->sections.empty()) return false;
  const std::size_t target = currentSection();
  const model::Section& section = report->sections[target];
  object.x = insertAt_.x;
  object.y = std::min(insertAt_.y, std::max(0, std::max(section.height, object.height) - object.height));
  if (object.name.empty()) object.name = uniqueName(u"Object");
  std::vector<std::unique_ptr<Command>> steps;
  if (parts && !(*parts == reportParts(*document_))) steps.push_back(changeReport(reportParts(*document_), *parts));
  // An object taller than its section (a picture) makes room for itself.
  if (object.height > section.height) {
    model::Section taller = section;
    taller.height = object.height;
    steps.push_back(changeSection(target, section, taller));
  }
  steps.push_back(insertObjects({{{target, report->sections[target].objects.size()}, std::move(object)}}));
  return execute(compose(std::move(steps)));
}

bool Editor::placeObject(model::ReportObject object, Point p) {
  const auto* report = definition();
  const Band* band = report ? layout_.bandAt(p.y) : nullptr;
  if (!band) return false;
  const std::int32_t step = options_.snapToGrid ? options_.gridStep : 0;
  object.x = std::max(0, snap(p.x, step));
  object.y = std::max(0, snap(std::max(0, p.y - band->bodyTop), step));
  if (object.name.empty()) object.name = uniqueName(u"Object");
  return execute(insertObjects({{{band->section, report->sections[band->section].objects.size()}, std::move(object)}}));
}

bool Editor::dropColumn(const model::FieldRef& column, Point p, const ColumnShape& shape) {
  if (!definition()) return false;
  const Band* band = layout_.bandAt(p.y);
  if (!band) return false;
  const std::int32_t step = options_.snapToGrid ? options_.gridStep : 0;
  return placeColumn(column, shape, band->section,
                     {std::max(0, snap(p.x, step)), std::max(0, snap(std::max(0, p.y - band->bodyTop), step))});
}

bool Editor::insertColumn(const model::FieldRef& column, const ColumnShape& shape) {
  const auto* report = definition();
  if (!report || report->sections.empty()) return false;
  const std::size_t target = currentSection();
  return placeColumn(column, shape, target,
                     {insertAt_.x, std::min(insertAt_.y, std::max(0, report->sections[target].height - kNewObjectHeight))});
}

bool Editor::placeColumn(const model::FieldRef& column, const ColumnShape& shape, std::size_t target, Point at) {
  const auto* report = definition();
  model::ReportObject field;
  field.kind = model::ObjectKind::DatabaseField;
  field.field = column;
  field.field.unknown = {};
  field.name = uniqueName(column.column.empty() ? Text(u"Field") : column.column);
  field.height = kNewObjectHeight;
  field.x = at.x;
  field.y = at.y;
  model::ReportObject heading;
  heading.kind = model::ObjectKind::Text;
  heading.text = column.column;
  heading.name = uniqueName(u"Heading");
  heading.format.bold = true;
  heading.format.underline = true;
  // As wide as the values, or the heading if that is wider, within the
  // printable width.
  std::int32_t width = fieldWidth(shape, field.format, *measure_);
  const bool withHeading = report->sections[target].kind == model::SectionKind::Details;
  if (withHeading) {
    const std::int32_t title = measure_->width(engine::layout::fontOf(heading.format), heading.text);
    width = std::max(width, title + title / 20 + 20);
  }
  field.width = std::clamp(width, kNewObjectHeight, std::max(kNewObjectHeight, layout_.width() - field.x));

  std::vector<std::unique_ptr<Command>> steps;
  steps.push_back(insertObjects({{{target, report->sections[target].objects.size()}, field}}));
  if (withHeading) {
    // A subreport prints inside its main report's pages, without page
    // headers of its own: its headings go in its report header.
    const auto headingKind = subreport_ ? model::SectionKind::ReportHeader : model::SectionKind::PageHeader;
    auto header = std::find_if(report->sections.begin(), report->sections.end(),
                               [&](const model::Section& s) { return s.kind == headingKind; });
    if (header != report->sections.end()) {
      heading.x = field.x;
      heading.width = field.width;
      heading.height = kNewObjectHeight;
      heading.y = std::max(0, header->height - heading.height);
      const auto h = static_cast<std::size_t>(header - report->sections.begin());
      steps.push_back(insertObjects({{{h, header->objects.size()}, std::move(heading)}}));
    }
  }
  return execute(compose(std::move(steps)));
}

bool Editor::setSectionHeight(std::size_t section, std::int32_t height) {
  const auto* report = definition();
  if (!report || section >= report->sections.size() || height < 0) return false;
  const model::Section& before = report->sections[section];
  if (before.height == height) return false;
  model::Section after;
  after = before;  // the command keeps the section's own values only
  after.height = height;
  return execute(changeSection(section, before, after));
}

bool Editor::changeReportParts(const ReportParts& parts) {
  if (!document_) return false;
  ReportParts before = reportParts(*document_);
  if (before == parts) return false;
  return execute(changeReport(std::move(before), parts));
}

bool Editor::addGroup(const model::Group& group) { return execute(designer::addGroup(group)); }

bool Editor::changeGroups(const std::vector<GroupPlace>& groups) {
  const auto* report = definition();
  if (!report || !editable()) return false;
  model::ReportDefinition changed = *report;
  if (!arrangeGroups(changed, groups)) return false;
  if (changed.sections == report->sections && changed.data.groups == report->data.groups) return false;
  return execute(designer::changeGroups({report->sections, report->data.groups},
                                        {std::move(changed.sections), std::move(changed.data.groups)}));
}

bool Editor::setSectionOptions(std::size_t section, const model::Section& values) {
  const auto* report = definition();
  if (!report || section >= report->sections.size()) return false;
  const model::Section& before = report->sections[section];
  model::Section after = withoutObjects(values);
  after.kind = before.kind;
  after.group = before.group;
  after.unknown = before.unknown;
  if (after.height < 0) return false;
  if (after == withoutObjects(before)) return false;
  return execute(changeSection(section, before, after));
}

// The selected objects given the boxes (surface coordinates, in the
// selection's order): the changes for those whose place or size differs.
std::vector<ObjectChange> Editor::changesToBoxes(const model::ReportDefinition& report,
                                                 const std::vector<Box>& boxes) const {
  std::vector<ObjectChange> changes;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const ObjectRef r = objectOf(selection_, i);
    const model::ReportObject& before = report.sections[r.section].objects[r.index];
    model::ReportObject after = before;
    after.x = boxes[i].x;
    after.y = boxes[i].y - layout_.band(r.section)->bodyTop;
    after.width = boxes[i].width;
    after.height = boxes[i].height;
    if (!(after == before)) changes.push_back({r, before, std::move(after)});
  }
  return changes;
}

bool Editor::canArrange(Arrangement how) const {
  return editable() && selection_.objects.size() >= objectsNeeded(how);
}

bool Editor::arrange(Arrangement how) {
  const auto* report = definition();
  const auto first = primary();
  if (!report || !first || !canArrange(how)) return false;
  std::vector<Box> boxes;
  std::size_t primaryAt = 0;
  for (ObjectRef r : selection_.objects) {
    if (r == *first) primaryAt = boxes.size();
    boxes.push_back(layout_.objectBox(r.section, report->sections[r.section].objects[r.index]));
  }
  std::vector<ObjectChange> changes = changesToBoxes(*report, arrangeBoxes(std::move(boxes), primaryAt, how));
  if (changes.empty()) return false;
  const ObjectRef keep = *first;
  const bool done = execute(selecting(changeObjects(std::move(changes)), selection_, selection_));
  if (done) primary_ = keep, hasPrimary_ = true;
  return done;
}

bool Editor::setObjectText(ObjectRef ref, const Text& text) {
  const auto* report = definition();
  if (!report || ref.section >= report->sections.size() || ref.index >= report->sections[ref.section].objects.size())
    return false;
  const model::ReportObject& before = report->sections[ref.section].objects[ref.index];
  if (before.kind != model::ObjectKind::Text || before.text == text) return false;
  model::ReportObject after = before;
  after.text = text;
  return execute(changeObjects({{ref, before, std::move(after)}}));
}

bool Editor::setProperty(const Text& key, const Text& value) {
  if (!document_) return false;
  const Selection keep = selection_;
  auto command = propertyCommand(*document_, selection_, key, value);
  if (!command || !execute(std::move(command))) return false;
  // The panel goes on showing what it was editing.
  select(keep);
  return true;
}

Text Editor::uniqueName(const Text& stem) const {
  const auto* report = definition();
  std::int64_t highest = 0;
  if (report)
    for (const auto& s : report->sections)
      for (const auto& o : s.objects) {
        if (o.name.size() <= stem.size() || o.name.compare(0, stem.size(), stem) != 0) continue;
        const auto n = parseLong(TextView(o.name).substr(stem.size()));
        if (n && *n > highest) highest = *n;
      }
  return stem + decimal(highest + 1);
}

}  // namespace mervane::authoring::designer
