// A new report's sections, adding groups, and the rule for the order of
// sections.
#include "engine/model/report_definition.h"

#include <algorithm>

namespace mervane::engine::model {

ReportDefinition blankReport() {
  ReportDefinition report;
  const std::pair<SectionKind, const char16_t*> sections[] = {
      {SectionKind::ReportHeader, u"Report Header"}, {SectionKind::PageHeader, u"Page Header"},
      {SectionKind::Details, u"Details"},            {SectionKind::PageFooter, u"Page Footer"},
      {SectionKind::ReportFooter, u"Report Footer"},
  };
  for (const auto& [kind, name] : sections) {
    Section& section = report.sections.emplace_back();
    section.kind = kind;
    section.name = name;
  }
  return report;
}

void addGroup(ReportDefinition& report, Group group) {
  report.data.groups.push_back(std::move(group));
  const auto number = static_cast<std::int32_t>(report.data.groups.size());
  auto& sections = report.sections;
  const auto isKind = [](SectionKind kind) { return [kind](const Section& s) { return s.kind == kind; }; };

  // Header: after the last group header, or else before the first details
  // section (or, without details, before the page footer or at the end).
  Section header;
  header.kind = SectionKind::GroupHeader;
  header.group = number;
  header.name = u"Group Header #" + decimal(number);
  auto lastHeader = std::find_if(sections.rbegin(), sections.rend(), isKind(SectionKind::GroupHeader));
  auto at = lastHeader != sections.rend() ? lastHeader.base()
                                          : std::find_if(sections.begin(), sections.end(), [](const Section& s) {
                                              return s.kind >= SectionKind::Details;
                                            });
  at = sections.insert(at, std::move(header));

  // Footer: just after the last details section, before the outer groups' footers.
  Section footer;
  footer.kind = SectionKind::GroupFooter;
  footer.group = number;
  footer.name = u"Group Footer #" + decimal(number);
  auto afterDetails = std::find_if(at + 1, sections.end(), [](const Section& s) { return s.kind > SectionKind::Details; });
  sections.insert(afterDetails, std::move(footer));
}

bool sectionsInOrder(const ReportDefinition& report) {
  const auto groups = static_cast<std::int64_t>(report.data.groups.size());
  // Each section's place in printing order; the places must not fall.
  auto rank = [groups](const Section& s) -> std::int64_t {
    switch (s.kind) {
      case SectionKind::ReportHeader: return 0;
      case SectionKind::PageHeader: return 1;
      case SectionKind::GroupHeader: return 1 + s.group;
      case SectionKind::Details: return 2 + groups;
      case SectionKind::GroupFooter: return 3 + 2 * groups - s.group;
      case SectionKind::PageFooter: return 3 + 2 * groups;
      case SectionKind::ReportFooter: return 4 + 2 * groups;
    }
    return -1;
  };
  std::vector<bool> header(static_cast<std::size_t>(groups) + 1), footer(header.size());
  std::int64_t last = 0;
  for (const Section& s : report.sections) {
    const bool grouped = s.kind == SectionKind::GroupHeader || s.kind == SectionKind::GroupFooter;
    if (grouped && (s.group < 1 || s.group > groups)) return false;
    const std::int64_t place = rank(s);
    if (place < last) return false;
    last = place;
    if (s.kind == SectionKind::GroupHeader) header[static_cast<std::size_t>(s.group)] = true;
    if (s.kind == SectionKind::GroupFooter) footer[static_cast<std::size_t>(s.group)] = true;
  }
  for (std::int64_t g = 1; g <= groups; ++g) {
    if (!header[static_cast<std::size_t>(g)] || !footer[static_cast<std::size_t>(g)]) return false;
  }
  return true;
}

}  // namespace mervane::engine::model
