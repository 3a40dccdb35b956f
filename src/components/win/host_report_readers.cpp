// The host's Vardo report readers behind the library's interfaces: the
// legacy report service and its definition through their vtables, the
// report property reader late-bound by member name.
#include <vector>

#include "base/win/com.h"
#include "components/win/host_components.h"
#include "components/win/host_interfaces.h"

namespace mervane {

namespace {

using win::Bstr;
using win::ComError;
using win::ComPtr;
using win::check;

// A new host object by class id, asked for one interface.
template <class T>
ComPtr<T> createHostObject(const CLSID& clsid, const IID& iid) {
  ComPtr<IUnknown> object;
  check(CoCreateInstance(clsid, nullptr, CLSCTX_SERVER, IID_IUnknown, object.putVoid()));
  ComPtr<T> wanted;
  check(object->QueryInterface(iid, wanted.putVoid()));
  if (!wanted) throw ComError(E_NOINTERFACE);
  return wanted;
}

class HostLegacyDefinition final : public LegacyReportDefinition {
 public:
  explicit HostLegacyDefinition(ComPtr<win::host::LegacyReportDefinition> d) : d_(std::move(d)) {}
  void setName(const Text& name) override { check(d_->put_Name(Bstr(name).get())); }
  void load() override { check(d_->Load()); }
  Text title() override {
    Bstr title;
    check(d_->get_Title(title.put()));
    return title.text();
  }
  std::int32_t applicationData() override {
    LONG data = 0;
    check(d_->get_ApplicationData(&data));
    return data;
  }

 private:
  ComPtr<win::host::LegacyReportDefinition> d_;
};

class HostLegacyService final : public LegacyReportService {
 public:
  explicit HostLegacyService(ComPtr<win::host::LegacyReportService> s) : s_(std::move(s)) {}
  void setProgramReports(const Text& value) override { check(s_->put_ProgramReports(Bstr(value).get())); }
  std::unique_ptr<LegacyReportDefinition> reportDefinition() override {
    ComPtr<win::host::LegacyReportDefinition> d;
    check(s_->GetReportDefinition(d.put()));
    if (!d) throw ComError(E_POINTER);
    return std::make_unique<HostLegacyDefinition>(std::move(d));
  }

 private:
  ComPtr<win::host::LegacyReportService> s_;
};

// Frees what a failed Invoke put into its exception record.
struct ExceptionRecord {
  EXCEPINFO info{};
  ~ExceptionRecord() {
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
  }
};

class HostPropertyReader final : public ReportPropertyReader {
 public:
  explicit HostPropertyReader(ComPtr<IDispatch> d) : d_(std::move(d)) {}
  Text title(const Text& fullPath) override { return call(titleId_, win::host::kGetTitle, {&fullPath}); }
  Text property(const Text& fullPath, const Text& name) override {
    return call(propertyId_, win::host::kGetProperty, {&fullPath, &name});
  }

 private:
  // Calls a member by name (its id looked up once) with text arguments and
  // gives its result as text.
  Text call(DISPID& id, const wchar_t* name, std::initializer_list<const Text*> arguments) {
    if (id == DISPID_UNKNOWN) {
      LPOLESTR names[1] = {const_cast<LPOLESTR>(name)};
      check(d_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    }
    std::vector<Bstr> texts;
    for (const Text* a : arguments) texts.emplace_back(*a);
    std::vector<VARIANTARG> args(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {  // dispatch arguments come last first
      VARIANTARG& arg = args[texts.size() - 1 - i];
      VariantInit(&arg);
      V_VT(&arg) = VT_BSTR;
      V_BSTR(&arg) = texts[i].get();
    }
    DISPPARAMS params{args.data(), nullptr, static_cast<UINT>(args.size()), 0};
    win::Variant result;
    ExceptionRecord exception;
    UINT argError = 0;
    check(d_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &params,
                     result.get(), &exception.info, &argError));
    VARTYPE vt = V_VT(result.get());
    if (vt == VT_EMPTY || vt == VT_NULL) return Text();
    win::Variant text;
    check(VariantChangeType(text.get(), result.get(), 0, VT_BSTR));
    return win::toText(V_BSTR(text.get()));
  }

  ComPtr<IDispatch> d_;
  DISPID titleId_ = DISPID_UNKNOWN;
  DISPID propertyId_ = DISPID_UNKNOWN;
};

}  // namespace

std::unique_ptr<LegacyReportService> createLegacyReportService() {
  return std::make_unique<HostLegacyService>(createHostObject<win::host::LegacyReportService>(
      win::host::kLegacyServiceClass, win::host::kLegacyServiceInterface));
}

std::unique_ptr<ReportPropertyReader> createReportPropertyReader() {
  // The interface is a dispatch interface: its pointer is an IDispatch.
  auto reader = createHostObject<IDispatch>(win::host::kPropertyReaderClass, win::host::kPropertyReaderInterface);
  return std::make_unique<HostPropertyReader>(std::move(reader));
}

}  // namespace mervane
