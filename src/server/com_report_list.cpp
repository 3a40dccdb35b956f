#include "server/com_report_list.h"

namespace mervane::server {

namespace {

class ComItemRef final : public ReportItemRef {
 public:
  explicit ComItemRef(win::ComPtr<_ReportItem> item) : item_(std::move(item)) {}
  void setRegKey(const Text& value) override { win::check(item_->put_RegKey(win::Bstr(value).get())); }
  void setReportType(const Text& value) override { win::check(item_->put_ReportType(win::Bstr(value).get())); }
  void setApplicationData(std::int32_t value) override { win::check(item_->put_ApplicationData(value)); }
  void setFavourite(bool value) override {
    win::check(item_->put_Favourite(value ? VARIANT_TRUE : VARIANT_FALSE));
  }

 private:
  win::ComPtr<_ReportItem> item_;
};

}  // namespace

std::unique_ptr<ReportItemRef> ComReportList::add(const Text& title, const Text& fileName, const Text& key) {
  if (!reports_) throw win::ComError(E_POINTER);
  win::Bstr t(title), f(fileName), k(key);
  BSTR tb = t.get(), fb = f.get(), kb = k.get();
  win::ComPtr<_ReportItem> item;
  win::check(reports_->Add(&tb, &fb, &kb, item.put()));
  if (!item) throw win::ComError(E_POINTER);
  return std::make_unique<ComItemRef>(std::move(item));
}

}  // namespace mervane::server
