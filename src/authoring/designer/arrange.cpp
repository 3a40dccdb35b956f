// Alignment, sizing and spacing of boxes, edge snapping, and groups rearranged.
#include "authoring/designer/arrange.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

namespace mervane::authoring::designer {

std::size_t objectsNeeded(Arrangement how) {
  return how == Arrangement::SpaceAcross || how == Arrangement::SpaceDown ? 3 : 2;
}

namespace {

// Boxes spread between the first and the last in the order of `start`.
void spread(std::vector<Box>& boxes, bool across) {
  const auto start = [across](const Box& b) { return across ? b.x : b.y; };
  const auto length = [across](const Box& b) { return across ? b.width : b.height; };
  std::vector<std::size_t> order(boxes.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return start(boxes[a]) < start(boxes[b]); });
  const Box& first = boxes[order.front()];
  const Box& last = boxes[order.back()];
  std::int64_t used = 0;
  for (std::size_t i : order) used += length(boxes[i]);
  const std::int64_t span = std::int64_t{start(last)} + length(last) - start(first);
  const std::int64_t gaps = static_cast<std::int64_t>(order.size()) - 1;
  const std::int64_t free = span - used;
  // Each box starts where the one before ends plus its share of the room,
  // rounded from the start so that rounding never piles up.
  std::int64_t lengths = 0;
  for (std::size_t k = 1; k + 1 < order.size(); ++k) {
    lengths += length(boxes[order[k - 1]]);
    const auto at = static_cast<std::int32_t>(start(first) + lengths + free * static_cast<std::int64_t>(k) / gaps);
    (across ? boxes[order[k]].x : boxes[order[k]].y) = at;
  }
}

}  // namespace

std::vector<Box> arrangeBoxes(std::vector<Box> boxes, std::size_t primary, Arrangement how) {
  if (boxes.size() < objectsNeeded(how) || primary >= boxes.size()) return boxes;
  const Box p = boxes[primary];
  switch (how) {
    case Arrangement::SpaceAcross: spread(boxes, true); return boxes;
    case Arrangement::SpaceDown: spread(boxes, false); return boxes;
    default: break;
  }
  for (Box& b : boxes) {
    switch (how) {
      case Arrangement::AlignLeft: b.x = p.x; break;
      case Arrangement::AlignRight: b.x = p.right() - b.width; break;
      case Arrangement::AlignTop: b.y = p.y; break;
      case Arrangement::AlignBottom: b.y = p.bottom() - b.height; break;
      case Arrangement::AlignCentres: b.x = p.x + p.width / 2 - b.width / 2; break;
      case Arrangement::AlignMiddles: b.y = p.y + p.height / 2 - b.height / 2; break;
      case Arrangement::SameWidth: b.width = p.width; break;
      case Arrangement::SameHeight: b.height = p.height; break;
      case Arrangement::SameSize: b.width = p.width, b.height = p.height; break;
      default: break;
    }
  }
  return boxes;
}

EdgeSnap snapToEdges(const Box& moving, const std::vector<Box>& others, std::int32_t reach) {
  EdgeSnap result;
  std::int32_t bestX = reach + 1, bestY = reach + 1;
  for (const Box& o : others) {
    for (std::int32_t edge : {moving.x, moving.right()})
      for (std::int32_t target : {o.x, o.right()})
        if (std::abs(target - edge) < std::abs(bestX)) bestX = target - edge, result.guideX = target;
    for (std::int32_t edge : {moving.y, moving.bottom()})
      for (std::int32_t target : {o.y, o.bottom()})
        if (std::abs(target - edge) < std::abs(bestY)) bestY = target - edge, result.guideY = target;
  }
  if (result.guideX) result.shift.x = bestX;
  if (result.guideY) result.shift.y = bestY;
  return result;
}

namespace {

bool isGroupSection(const model::Section& s) {
  return s.kind == model::SectionKind::GroupHeader || s.kind == model::SectionKind::GroupFooter;
}

// A section's place in printing order (as sectionsInOrder ranks them).
std::int64_t rank(const model::Section& s, std::int64_t groups) {
  switch (s.kind) {
    case model::SectionKind::ReportHeader: return 0;
    case model::SectionKind::PageHeader: return 1;
    case model::SectionKind::GroupHeader: return 1 + s.group;
    case model::SectionKind::Details: return 2 + groups;
    case model::SectionKind::GroupFooter: return 3 + 2 * groups - s.group;
    case model::SectionKind::PageFooter: return 3 + 2 * groups;
    case model::SectionKind::ReportFooter: return 4 + 2 * groups;
  }
  return 0;
}

Text defaultName(model::SectionKind kind, std::int32_t number) {
  return (kind == model::SectionKind::GroupHeader ? u"Group Header #" : u"Group Footer #") + decimal(number);
}

void renumberSummaries(std::vector<model::Section>& sections, const std::vector<std::int32_t>& numberOf) {
  for (auto& s : sections)
    for (auto& o : s.objects)
      if (o.kind == model::ObjectKind::SummaryField && o.summaryGroup > 0) {
        const auto was = static_cast<std::size_t>(o.summaryGroup);
        o.summaryGroup = was < numberOf.size() ? numberOf[was] : 0;
      }
}

}  // namespace

bool arrangeGroups(model::ReportDefinition& report, const std::vector<GroupPlace>& groups) {
  const auto count = static_cast<std::int32_t>(report.data.groups.size());
  if (!model::sectionsInOrder(report)) return false;
  // numberOf[old] = new number, 0 for a deleted group.
  std::vector<std::int32_t> numberOf(static_cast<std::size_t>(count) + 1, 0);
  for (std::size_t i = 0; i < groups.size(); ++i) {
    const std::int32_t was = groups[i].was;
    if (was < 1 || was > count || numberOf[static_cast<std::size_t>(was)] != 0) return false;
    numberOf[static_cast<std::size_t>(was)] = static_cast<std::int32_t>(i + 1);
  }
  std::vector<model::Section> sections;
  sections.reserve(report.sections.size());
  for (auto& s : report.sections) {
    if (isGroupSection(s)) {
      const std::int32_t number = numberOf[static_cast<std::size_t>(s.group)];
      if (number == 0) continue;
      if (s.name == defaultName(s.kind, s.group)) s.name = defaultName(s.kind, number);
      s.group = number;
    }
    sections.push_back(std::move(s));
  }
  const auto kept = static_cast<std::int64_t>(groups.size());
  std::stable_sort(sections.begin(), sections.end(),
                   [kept](const model::Section& a, const model::Section& b) { return rank(a, kept) < rank(b, kept); });
  renumberSummaries(sections, numberOf);
  report.sections = std::move(sections);
  report.data.groups.clear();
  for (const auto& g : groups) report.data.groups.push_back(g.group);
  return true;
}

bool groupHoldsObjects(const model::ReportDefinition& report, std::int32_t number) {
  return std::any_of(report.sections.begin(), report.sections.end(), [number](const model::Section& s) {
    return isGroupSection(s) && s.group == number && !s.objects.empty();
  });
}

}  // namespace mervane::authoring::designer
