// Sections of a new report and of groups, and the rule for their order.
#include "engine/model/report_definition.h"

#include <gtest/gtest.h>

namespace mervane::engine::model {
namespace {

std::vector<std::pair<SectionKind, std::int32_t>> layout(const ReportDefinition& r) {
  std::vector<std::pair<SectionKind, std::int32_t>> out;
  for (const Section& s : r.sections) out.emplace_back(s.kind, s.group);
  return out;
}

TEST(ReportDefinition, GroupsNestInsideOneAnother) {
  ReportDefinition r = blankReport();
  EXPECT_TRUE(sectionsInOrder(r));
  addGroup(r, {{u"Customers", u"Country", {}}, SortDirection::Ascending, {}});
  addGroup(r, {{u"Customers", u"City", {}}, SortDirection::Ascending, {}});
  using K = SectionKind;
  const std::vector<std::pair<SectionKind, std::int32_t>> expected = {
      {K::ReportHeader, 0}, {K::PageHeader, 0},  {K::GroupHeader, 1}, {K::GroupHeader, 2}, {K::Details, 0},
      {K::GroupFooter, 2},  {K::GroupFooter, 1}, {K::PageFooter, 0},  {K::ReportFooter, 0}};
  EXPECT_EQ(layout(r), expected);
  EXPECT_TRUE(sectionsInOrder(r));
  EXPECT_EQ(r.sections[3].name, u"Group Header #2");

  // Without a details section the group's sections still find their places.
  ReportDefinition bare;
  bare.sections = {{K::PageFooter, 0, u"", 100, false, false, {}, {}}};
  addGroup(bare, {});
  EXPECT_TRUE(sectionsInOrder(bare));
  EXPECT_EQ(bare.sections.size(), 3u);
}

TEST(ReportDefinition, SectionsOutOfOrderOrWithoutTheirGroupAreNoticed) {
  ReportDefinition r = blankReport();
  addGroup(r, {});
  addGroup(r, {});
  ReportDefinition swapped = r;
  std::swap(swapped.sections[2], swapped.sections[3]);  // outer header inside the inner one
  EXPECT_FALSE(sectionsInOrder(swapped));
  ReportDefinition missing = r;
  missing.sections.erase(missing.sections.begin() + 5);  // a group footer
  EXPECT_FALSE(sectionsInOrder(missing));
  ReportDefinition unknownGroup = r;
  unknownGroup.sections[2].group = 3;
  EXPECT_FALSE(sectionsInOrder(unknownGroup));
  ReportDefinition twoDetails = r;
  twoDetails.sections.insert(twoDetails.sections.begin() + 4, twoDetails.sections[4]);
  EXPECT_TRUE(sectionsInOrder(twoDetails));
}

}  // namespace
}  // namespace mervane::engine::model
