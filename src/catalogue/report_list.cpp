#include "catalogue/report_list.h"

namespace mervane {

namespace {

class SharedItemRef final : public ReportItemRef {
 public:
  explicit SharedItemRef(std::shared_ptr<ReportItem> item) : item_(std::move(item)) {}
  void setRegKey(const Text& value) override { item_->regKey = value; }
  void setReportType(const Text& value) override { item_->reportType = value; }
  void setApplicationData(std::int32_t value) override { item_->applicationData = value; }
  void setFavourite(bool value) override { item_->favourite = value; }

 private:
  std::shared_ptr<ReportItem> item_;
};

}  // namespace

std::unique_ptr<ReportItemRef> ReportCollection::add(const Text& title, const Text& fileName, const Text& key) {
  auto item = std::make_shared<ReportItem>();
  item->reportTitle = title;
  item->fileName = fileName;
  items_.add(item, key);
  return std::make_unique<SharedItemRef>(item);
}

std::shared_ptr<ReportItem> ReportCollection::at(long long position) const {
  const auto* p = items_.at(position);
  return p ? *p : nullptr;
}

std::shared_ptr<ReportItem> ReportCollection::find(TextView key) const {
  const auto* p = items_.find(key);
  return p ? *p : nullptr;
}

}  // namespace mervane
