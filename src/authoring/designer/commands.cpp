// The designer's commands. Each checks the places it touches, so that a
// command can never write outside the report however the report got there.
#include "authoring/designer/commands.h"

#include <algorithm>

namespace mervane::authoring::designer {

bool Selection::contains(ObjectRef ref) const { return std::binary_search(objects.begin(), objects.end(), ref); }

void Selection::add(ObjectRef ref) {
  auto at = std::lower_bound(objects.begin(), objects.end(), ref);
  if (at == objects.end() || *at != ref) objects.insert(at, ref);
  hasSection = false;
}

void Selection::toggle(ObjectRef ref) {
  auto at = std::lower_bound(objects.begin(), objects.end(), ref);
  if (at != objects.end() && *at == ref)
    objects.erase(at);
  else
    objects.insert(at, ref);
  hasSection = false;
}

Selection Selection::ofSection(std::size_t section) {
  Selection s;
  s.hasSection = true;
  s.section = section;
  return s;
}

namespace {

model::ReportObject* objectAt(engine::ReportDocument& document, ObjectRef ref) {
  auto& sections = document.definition.sections;
  if (ref.section >= sections.size() || ref.index >= sections[ref.section].objects.size()) return nullptr;
  return &sections[ref.section].objects[ref.index];
}

class ChangeObjects final : public Command {
 public:
  explicit ChangeObjects(std::vector<ObjectChange> changes) : changes_(std::move(changes)) {}
  void apply(engine::ReportDocument& document) override {
    for (const auto& c : changes_)
      if (auto* o = objectAt(document, c.ref)) *o = c.after;
  }
  void revert(engine::ReportDocument& document) override {
    for (const auto& c : changes_)
      if (auto* o = objectAt(document, c.ref)) *o = c.before;
  }
  Selection selectionAfterApply() const override {
    Selection s;
    for (const auto& c : changes_) s.add(c.ref);
    return s;
  }

 private:
  std::vector<ObjectChange> changes_;
};

// Inserting and removing are one command read in two directions.
class PlaceObjects final : public Command {
 public:
  PlaceObjects(std::vector<PlacedObject> objects, bool inserting) : objects_(std::move(objects)), inserting_(inserting) {
    std::sort(objects_.begin(), objects_.end(), [](const auto& a, const auto& b) { return a.ref < b.ref; });
  }
  void apply(engine::ReportDocument& document) override { inserting_ ? insert(document) : remove(document); }
  void revert(engine::ReportDocument& document) override { inserting_ ? remove(document) : insert(document); }
  Selection selectionAfterApply() const override { return inserting_ ? placed() : Selection{}; }
  Selection selectionAfterRevert() const override { return inserting_ ? Selection{} : placed(); }

 private:
  // Each section's list is rebuilt once, so that placing thousands of
  // objects costs no more than copying the list.
  template <class Each>
  void bySection(Each each) {
    for (auto first = objects_.begin(); first != objects_.end();) {
      auto last = std::find_if(first, objects_.end(), [&](const PlacedObject& p) { return p.ref.section != first->ref.section; });
      each(first->ref.section, first, last);
      first = last;
    }
  }
  // The objects land at their places, in ascending order.
  void insert(engine::ReportDocument& document) {
    auto& sections = document.definition.sections;
    bySection([&](std::size_t section, auto first, auto last) {
      if (section >= sections.size()) return;
      auto& list = sections[section].objects;
      std::vector<model::ReportObject> merged;
      merged.reserve(list.size() + static_cast<std::size_t>(last - first));
      std::size_t from = 0;
      while (from < list.size() || first != last) {
        if (first != last && (first->ref.index <= merged.size() || from == list.size()))
          merged.push_back((first++)->object);
        else
          merged.push_back(std::move(list[from++]));
      }
      list = std::move(merged);
    });
  }
  void remove(engine::ReportDocument& document) {
    auto& sections = document.definition.sections;
    bySection([&](std::size_t section, auto first, auto last) {
      if (section >= sections.size()) return;
      auto& list = sections[section].objects;
      std::vector<bool> gone(list.size());
      for (; first != last; ++first)
        if (first->ref.index < list.size()) gone[first->ref.index] = true;
      std::size_t kept = 0;
      for (std::size_t i = 0; i < list.size(); ++i)
        if (!gone[i]) {
          if (kept != i) list[kept] = std::move(list[i]);
          ++kept;
        }
      list.resize(kept);
    });
  }
  Selection placed() const {
    Selection s;
    for (const auto& p : objects_) s.add(p.ref);
    return s;
  }
  std::vector<PlacedObject> objects_;
  bool inserting_;
};

}  // namespace

model::Section withoutObjects(const model::Section& s) {
  model::Section copy;
  copy.kind = s.kind;
  copy.group = s.group;
  copy.name = s.name;
  copy.height = s.height;
  copy.suppress = s.suppress;
  copy.newPageAfter = s.newPageAfter;
  copy.conditions = s.conditions;
  copy.keepTogether = s.keepTogether;
  copy.printAtBottom = s.printAtBottom;
  copy.resetPageNumberAfter = s.resetPageNumberAfter;
  copy.newPageBefore = s.newPageBefore;
  copy.unknown = s.unknown;
  return copy;
}

namespace {

class ChangeSection final : public Command {
 public:
  ChangeSection(std::size_t section, const model::Section& before, const model::Section& after)
      : section_(section), before_(withoutObjects(before)), after_(withoutObjects(after)) {}
  void apply(engine::ReportDocument& document) override { put(document, after_); }
  void revert(engine::ReportDocument& document) override { put(document, before_); }
  Selection selectionAfterApply() const override { return Selection::ofSection(section_); }

 private:
  void put(engine::ReportDocument& document, const model::Section& values) {
    auto& sections = document.definition.sections;
    if (section_ >= sections.size()) return;
    model::Section& s = sections[section_];
    auto objects = std::move(s.objects);
    s = values;
    s.objects = std::move(objects);
  }
  std::size_t section_;
  model::Section before_, after_;
};

void putParts(engine::ReportDocument& document, const ReportParts& parts) {
  document.title = parts.title;
  document.definition.page = parts.page;
  document.definition.data = parts.data;
  document.definition.formulas = parts.formulas;
  document.definition.runningTotals = parts.runningTotals;
  document.definition.parameters = parts.parameters;
}

class ChangeReport final : public Command {
 public:
  ChangeReport(ReportParts before, ReportParts after) : before_(std::move(before)), after_(std::move(after)) {}
  void apply(engine::ReportDocument& document) override { putParts(document, after_); }
  void revert(engine::ReportDocument& document) override { putParts(document, before_); }

 private:
  ReportParts before_, after_;
};

class AddGroup final : public Command {
 public:
  explicit AddGroup(model::Group group) : group_(std::move(group)) {}
  void apply(engine::ReportDocument& document) override {
    model::ReportDefinition& report = document.definition;
    model::addGroup(report, group_);
    number_ = static_cast<std::int32_t>(report.data.groups.size());
  }
  // The group's sections are empty again by now: everything put into them
  // since was undone first.
  void revert(engine::ReportDocument& document) override {
    model::ReportDefinition& report = document.definition;
    if (number_ == 0 || static_cast<std::int32_t>(report.data.groups.size()) != number_) return;
    std::erase_if(report.sections, [this](const model::Section& s) {
      return (s.kind == model::SectionKind::GroupHeader || s.kind == model::SectionKind::GroupFooter) &&
             s.group == number_;
    });
    report.data.groups.pop_back();
  }

 private:
  model::Group group_;
  std::int32_t number_ = 0;
};

class ChangeGroups final : public Command {
 public:
  ChangeGroups(GroupedSections before, GroupedSections after) : before_(std::move(before)), after_(std::move(after)) {}
  void apply(engine::ReportDocument& document) override { put(document, after_); }
  void revert(engine::ReportDocument& document) override { put(document, before_); }

 private:
  static void put(engine::ReportDocument& document, const GroupedSections& values) {
    document.definition.sections = values.sections;
    document.definition.data.groups = values.groups;
  }
  GroupedSections before_, after_;
};

class Selecting final : public Command {
 public:
  Selecting(std::unique_ptr<Command> command, Selection afterApply, Selection afterRevert)
      : command_(std::move(command)), afterApply_(std::move(afterApply)), afterRevert_(std::move(afterRevert)) {}
  void apply(engine::ReportDocument& document) override { command_->apply(document); }
  void revert(engine::ReportDocument& document) override { command_->revert(document); }
  Selection selectionAfterApply() const override { return afterApply_; }
  Selection selectionAfterRevert() const override { return afterRevert_; }

 private:
  std::unique_ptr<Command> command_;
  Selection afterApply_, afterRevert_;
};

class Composite final : public Command {
 public:
  explicit Composite(std::vector<std::unique_ptr<Command>> commands) : commands_(std::move(commands)) {}
  void apply(engine::ReportDocument& document) override {
    for (auto& c : commands_) c->apply(document);
  }
  void revert(engine::ReportDocument& document) override {
    for (auto c = commands_.rbegin(); c != commands_.rend(); ++c) (*c)->revert(document);
  }
  Selection selectionAfterApply() const override {
    Selection s;
    for (const auto& c : commands_)
      for (ObjectRef r : c->selectionAfterApply().objects) s.add(r);
    return s;
  }
  Selection selectionAfterRevert() const override {
    Selection s;
    for (const auto& c : commands_)
      for (ObjectRef r : c->selectionAfterRevert().objects) s.add(r);
    return s;
  }

 private:
  std::vector<std::unique_ptr<Command>> commands_;
};

}  // namespace

std::unique_ptr<Command> changeObjects(std::vector<ObjectChange> changes) {
  return std::make_unique<ChangeObjects>(std::move(changes));
}
std::unique_ptr<Command> insertObjects(std::vector<PlacedObject> objects) {
  return std::make_unique<PlaceObjects>(std::move(objects), true);
}
std::unique_ptr<Command> removeObjects(std::vector<PlacedObject> objects) {
  return std::make_unique<PlaceObjects>(std::move(objects), false);
}
std::unique_ptr<Command> changeSection(std::size_t section, const model::Section& before, const model::Section& after) {
  return std::make_unique<ChangeSection>(section, before, after);
}
ReportParts reportParts(const engine::ReportDocument& document) {
  return {document.title, document.definition.page, document.definition.data, document.definition.formulas,
          document.definition.runningTotals,
          document.definition.parameters};
}
std::unique_ptr<Command> changeReport(ReportParts before, ReportParts after) {
  return std::make_unique<ChangeReport>(std::move(before), std::move(after));
}
std::unique_ptr<Command> addGroup(model::Group group) { return std::make_unique<AddGroup>(std::move(group)); }
std::unique_ptr<Command> changeGroups(GroupedSections before, GroupedSections after) {
  return std::make_unique<ChangeGroups>(std::move(before), std::move(after));
}
std::unique_ptr<Command> selecting(std::unique_ptr<Command> command, Selection afterApply, Selection afterRevert) {
  return std::make_unique<Selecting>(std::move(command), std::move(afterApply), std::move(afterRevert));
}
std::unique_ptr<Command> compose(std::vector<std::unique_ptr<Command>> commands) {
  return std::make_unique<Composite>(std::move(commands));
}

namespace {

class ChangeSubreport final : public Command {
 public:
  explicit ChangeSubreport(SubreportChange change) : change_(std::move(change)) {}
  void apply(engine::ReportDocument& document) override { set(document, change_.after); }
  void revert(engine::ReportDocument& document) override { set(document, change_.before); }
  Selection selectionAfterApply() const override { return change_.selectionAfterApply; }
  Selection selectionAfterRevert() const override { return change_.selectionAfterRevert; }
  std::optional<ObjectRef> subreport() const override { return change_.subreport; }

 private:
  void set(engine::ReportDocument& document, const model::ReportDefinition& definition) {
    model::ReportObject* o = objectAt(document, change_.subreport);
    if (o && o->kind == model::ObjectKind::Subreport) o->subreport.definition = model::Deep(definition);
  }
  SubreportChange change_;
};

}  // namespace

std::unique_ptr<Command> changeSubreport(SubreportChange change) {
  return std::make_unique<ChangeSubreport>(std::move(change));
}

std::unique_ptr<Command> changeTables(model::Data before, model::Data after, std::vector<PlacedObject> removed) {
  std::vector<std::unique_ptr<Command>> steps;
  if (!removed.empty()) steps.push_back(removeObjects(std::move(removed)));
  struct SetData final : Command {
    model::Data before, after;
    void apply(engine::ReportDocument& document) override { document.definition.data = after; }
    void revert(engine::ReportDocument& document) override { document.definition.data = before; }
  };
  auto data = std::make_unique<SetData>();
  data->before = std::move(before);
  data->after = std::move(after);
  steps.push_back(std::move(data));
  return compose(std::move(steps));
}

}  // namespace mervane::authoring::designer
