// ReportList: a Reports collection as the catalogue operations see it.
//
// The scan, the favourites list and the recent-reports list only ever add
// items and set fields on what Add returned, and the recent list looks up its
// own favourites by key. The COM shell gives these operations the host's
// collection through this interface; the core has its own implementation for
// collections it makes itself.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/text.h"
#include "catalogue/keyed_collection.h"
#include "components/forgiving.h"

namespace mervane {

// The six values of a ReportItem.
struct ReportItem {
  Text reportTitle;
  Text fileName;
  Text regKey;
  bool favourite = false;
  Text reportType;
  std::int32_t applicationData = 0;
};

// One item as returned by Add; setters may fail (they throw), like any call
// into the host's objects.
class ReportItemRef {
 public:
  virtual ~ReportItemRef() = default;
  virtual void setRegKey(const Text& value) = 0;
  virtual void setReportType(const Text& value) = 0;
  virtual void setApplicationData(std::int32_t value) = 0;
  virtual void setFavourite(bool value) = 0;
};

class ReportList {
 public:
  virtual ~ReportList() = default;
  // Reports.Add: a new item with title and file name, added under key when
  // the key is free; the new item is returned either way.
  virtual std::unique_ptr<ReportItemRef> add(const Text& title, const Text& fileName, const Text& key) = 0;
};

// An added item under the library's failure policy: each setter is skipped
// when there is no item or the call fails.
class ForgivingReportItem : public ForgivingPart<ReportItemRef> {
 public:
  explicit ForgivingReportItem(std::unique_ptr<ReportItemRef> item = nullptr) : ForgivingPart(std::move(item)) {}
  void setRegKey(const Text& value) noexcept { step([&](ReportItemRef& i) { i.setRegKey(value); }); }
  void setReportType(const Text& value) noexcept { step([&](ReportItemRef& i) { i.setReportType(value); }); }
  void setApplicationData(std::int32_t value) noexcept { step([&](ReportItemRef& i) { i.setApplicationData(value); }); }
  void setFavourite(bool value) noexcept { step([&](ReportItemRef& i) { i.setFavourite(value); }); }
};

// The host's collection under the library's failure policy: with no
// collection, or when Add fails, the item is empty and its setters skipped.
class ForgivingReportList {
 public:
  explicit ForgivingReportList(ReportList* list) : list_(list) {}
  ForgivingReportItem add(const Text& title, const Text& fileName, const Text& key) {
    if (!list_) return ForgivingReportItem();
    return ForgivingReportItem(
        attemptOr(std::unique_ptr<ReportItemRef>(), [&] { return list_->add(title, fileName, key); }));
  }

 private:
  ReportList* list_;
};

// A Reports collection of the core's own, for lists the operations make for
// themselves (the recent list's favourites lookup) and for tests.
class ReportCollection final : public ReportList {
 public:
  std::unique_ptr<ReportItemRef> add(const Text& title, const Text& fileName, const Text& key) override;
  std::size_t size() const { return items_.size(); }
  std::shared_ptr<ReportItem> at(long long position) const;
  std::shared_ptr<ReportItem> find(TextView key) const;
  std::vector<std::shared_ptr<ReportItem>> items() const { return items_.values(); }

 private:
  KeyedCollection<std::shared_ptr<ReportItem>> items_;
};

}  // namespace mervane
