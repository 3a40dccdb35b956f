// The host's Reports collection as the core's ReportList: every call goes
// through the collection's interface, as it would for any host object.
#pragma once

#include "Mervane100.h"
#include "base/win/com.h"
#include "catalogue/report_list.h"

namespace mervane::server {

class ComReportList final : public ReportList {
 public:
  explicit ComReportList(_Reports* reports) : reports_(reports) {}
  std::unique_ptr<ReportItemRef> add(const Text& title, const Text& fileName, const Text& key) override;

 private:
  win::ComPtr<_Reports> reports_;
};

}  // namespace mervane::server
