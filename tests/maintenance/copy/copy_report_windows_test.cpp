// ReportFunctions.CopyReport as a host calls it, with a person answering the
// report details dialog: a Crystal copy of a real example report (through
// IDispatch with the kind left out, as a script host calls), its title and
// stored value in the host's settings store; a cancelled copy; a Vardo
// report copied byte for byte with the title box disabled.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "Mervane100.h"
#include "authoring/win/details_form.h"
#include "base/win/com.h"
#include "catalogue/catalogue_scan.h"
#include "engine/win/engine_factory.h"
#include "components/win/host_components.h"
#include "../../authoring/person.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
using testing::Person;
using win::Bstr;
using win::ComPtr;
using Ids = win::DetailsForm;  // control ids

const Text kRoot = u"Mervane Copy Test";
const std::wstring kRootKey = L"Software\\VB and VBA Program Settings\\Mervane Copy Test";
const std::wstring kCaption = L"Enter Report Details";

Text text(const std::wstring& w) { return Text(w.begin(), w.end()); }

fs::path examples() {
  std::string unix = MERVANE_EXAMPLE_REPORTS;
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return fs::path(L"Z:" + std::wstring(unix.begin(), unix.end()));
}

std::string bytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

class CopyReportWindowsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CoInitialize(nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
    folder_ = fs::temp_directory_path() / ("copy-report-" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(folder_);
    ASSERT_EQ(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                               functions_.putVoid()),
              S_OK);
    functions_->put_AppName(Bstr(u"Books").get());
    functions_->put_RegistryPath(Bstr(kRoot).get());
  }
  void TearDown() override {
    functions_.reset();
    fs::remove_all(folder_);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
    CoUninitialize();
  }
  Text repPath() const { return text(folder_.wstring() + L"\\"); }
  Text storedValue(const std::wstring& fileName) {
    return threadSettingsStore().read(kRoot, kReportsSection, repPath() + text(fileName), u"<none>");
  }

  ComPtr<_ReportFunctions> functions_;
  fs::path folder_;
};

TEST_F(CopyReportWindowsTest, CrystalCopyWithTheKindLeftOut) {
  fs::copy_file(examples() / "Monthly Sales.rpt", folder_ / "Monthly Sales.rpt");
  // The example carries "AppData=17;" in its summary comments.
  DISPID id = 0;
  LPOLESTR name = const_cast<LPOLESTR>(L"CopyReport");
  ASSERT_EQ(functions_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), S_OK);
  // A script's variable that was never assigned: the chosen name comes back in it.
  win::Variant newFileName;
  VARIANT args[4];
  for (VARIANT& v : args) VariantInit(&v);
  Bstr oldTitle(u"Monthly Sales"), oldFile(u"Monthly Sales.rpt"), path(repPath());
  args[3].vt = VT_BSTR;
  args[3].bstrVal = oldTitle.get();
  args[2].vt = VT_BSTR;
  args[2].bstrVal = oldFile.get();
  args[1].vt = VT_BSTR;
  args[1].bstrVal = path.get();
  args[0].vt = VT_VARIANT | VT_BYREF;
  args[0].pvarVal = newFileName.get();
  DISPPARAMS params{args, nullptr, 4, 0};

  Person person(kCaption, [](Person& p, HWND dialog) {
    EXPECT_EQ(Person::text(dialog, Ids::kFileNameBox), L"");
    EXPECT_EQ(Person::text(dialog, Ids::kTitleBox), L"Monthly Sales");
    EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, Ids::kTitleBox)));
    p.type(dialog, Ids::kFileNameBox, L"Monthly Sales");
    p.press(dialog, Ids::kOk);
    Person::Message exists = p.answerMessage(dialog);  // the source is there already
    EXPECT_EQ(exists.text, L"This file already exists.  Please enter a different filename.");
    EXPECT_EQ(exists.title, L"Books");
    p.type(dialog, Ids::kFileNameBox, L"sales2");
    p.type(dialog, Ids::kTitleBox, L"Sales 2; monthly");
    p.press(dialog, Ids::kOk);
    EXPECT_TRUE(Person::waitHidden(dialog));
  });
  EXPECT_EQ(functions_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr,
                               nullptr),
            S_OK);
  ASSERT_EQ(V_VT(newFileName.get()), VT_BSTR);
  EXPECT_EQ(win::toText(V_BSTR(newFileName.get())), u"sales2.rpt");

  auto engine = createEngineApplication();
  auto copy = engine->openReport(repPath() + u"sales2.rpt");
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->title(), u"Sales 2; monthly");
  EXPECT_EQ(engine->openReport(repPath() + u"Monthly Sales.rpt")->title(), u"Monthly Sales");
  EXPECT_EQ(storedValue(L"sales2.rpt"), u"Sales 2; monthly;N;17");
  EXPECT_EQ(storedValue(L"Monthly Sales.rpt"), u"<none>");
}

TEST_F(CopyReportWindowsTest, VardoCopyIsByteForByteAndCancelCopiesNothing) {
  fs::copy_file(examples() / "SALES.SRT", folder_ / "SALES.SRT");

  {
    Person person(kCaption, [](Person& p, HWND dialog) {
      p.type(dialog, Ids::kFileNameBox, L"SALES2.SRT");
      p.press(dialog, Ids::kCancel);
    });
    BSTR name = SysAllocString(L"as passed");
    functions_->CopyReport(Bstr(u"Sales listing").get(), Bstr(u"SALES.SRT").get(), Bstr(repPath()).get(), &name,
                           vdVardo);
    EXPECT_EQ(win::toText(name), u"as passed");
    SysFreeString(name);
  }
  EXPECT_FALSE(fs::exists(folder_ / "SALES2.SRT"));

  {
    Person person(kCaption, [](Person& p, HWND dialog) {
      HWND title = GetDlgItem(dialog, Ids::kTitleBox);
      EXPECT_EQ(Person::text(title), L"Sales listing");
      EXPECT_FALSE(IsWindowEnabled(title));
      EXPECT_FALSE(GetWindowLongW(title, GWL_STYLE) & WS_TABSTOP);
      p.type(dialog, Ids::kFileNameBox, L"SALES2.SRT");
      p.press(dialog, Ids::kOk);
      EXPECT_TRUE(Person::waitHidden(dialog));
    });
    BSTR name = SysAllocString(L"as passed");
    functions_->CopyReport(Bstr(u"Sales listing").get(), Bstr(u"SALES.SRT").get(), Bstr(repPath()).get(), &name,
                           vdVardo);
    EXPECT_EQ(win::toText(name), u"SALES2.SRT");
    SysFreeString(name);
  }
  EXPECT_EQ(bytes(folder_ / "SALES2.SRT"), bytes(folder_ / "SALES.SRT"));
  EXPECT_FALSE(bytes(folder_ / "SALES.SRT").empty());
  EXPECT_EQ(storedValue(L"SALES2.SRT"), u"<none>");
}

}  // namespace
}  // namespace mervane
