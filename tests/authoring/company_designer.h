// The designer window as the person-like tests open it: the library's own
// report engine, on the example company database (MERVANE_COMPANY_DB, the
// test's build defines it).
#pragma once

#include <filesystem>
#include <memory>

#include "authoring/win/designer_form.h"
#include "base/text.h"
#include "base/win/wide.h"
#include "catalogue/session_settings.h"
#include "connections/session_data.h"
#include "engine/win/engine_factory.h"

namespace mervane::testing {

// The session's data for the company database (and, given a user, the
// host's data source).
inline SessionData companySession(const Text& user = Text(), const Text& odbcName = Text()) {
  SessionSettings s;
  s.userName = user;
  s.odbcServer = odbcName;
  s.sqlDatabase = u"company";
  s.sqlConnString = u"Driver={SQLite3};Database=" + fromUtf8(MERVANE_COMPANY_DB) + u";StepAPI=1;NoCreat=1";
  return readSessionData(s);
}

// The report in `file` opened for designing under `name`, in a window of its
// own with the given caption (not shown until its modal loop runs).
inline std::unique_ptr<authoring::win::DesignerForm> companyDesigner(const Text& caption,
                                                                     const std::filesystem::path& file,
                                                                     const Text& name) {
  auto form = std::make_unique<authoring::win::DesignerForm>(
      authoring::win::DesignerFormParts{[] { return createReportEngine(); }, nullptr, nullptr});
  form->load();
  form->setCaption(caption);
  form->setSessionData(companySession());
  form->openReport(win::fromWide(file.c_str()), name);
  return form;
}

}  // namespace mervane::testing
