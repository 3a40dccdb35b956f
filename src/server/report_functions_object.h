// ReportFunctions: the host's entry point. It holds the session's settings
// and hands every operation to the subsystem that owns it.
#pragma once

#include "Mervane100.h"
#include "catalogue/session_settings.h"
#include "server/dispatch.h"

namespace mervane::server {

class ReportFunctionsObject final : public DispatchObject<ReportFunctionsObject, _ReportFunctions> {
 public:
  static const IID& interfaceId() { return IID__ReportFunctions; }
  static std::span<const IID* const> earlierInterfaceIds();

  const SessionSettings& settings() const { return settings_; }

  HRESULT STDMETHODCALLTYPE put_SqlConnString(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_SqlDatabase(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_SqlLogin(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_SqlPassword(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_SqlServer(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_SqlServer(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE NewVisualReport(VARIANT_BOOL* result) override;
  HRESULT STDMETHODCALLTYPE put_UserPassword(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_AppName(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_Path(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_UserName(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_OdbcServer(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_ParenthWnd(LONG value) override;
  HRESULT STDMETHODCALLTYPE CopyReport(BSTR OldRepName, BSTR OldRepFileName, BSTR RepPath, BSTR* NewFileName,
                                       vdReportType iReportType) override;
  HRESULT STDMETHODCALLTYPE DeleteReport(BSTR RepPath, BSTR RepFileName, VARIANT_BOOL* result) override;
  HRESULT STDMETHODCALLTYPE EditVisualReport(BSTR* RepName, BSTR FileName) override;
  HRESULT STDMETHODCALLTYPE put_Module(BSTR value) override;
  HRESULT STDMETHODCALLTYPE put_RegistryPath(BSTR value) override;
  HRESULT STDMETHODCALLTYPE GetReports(_Reports** oReports) override;
  HRESULT STDMETHODCALLTYPE RecentReportsRemove(short iRegIndex) override;
  HRESULT STDMETHODCALLTYPE RecentReportsAdd(BSTR sFileName, BSTR sReportTitle, short* result) override;
  HRESULT STDMETHODCALLTYPE RecentReportsGet(_Reports** RepColl) override;
  HRESULT STDMETHODCALLTYPE Export(VARIANT_BOOL* result) override;
  HRESULT STDMETHODCALLTYPE Import(VARIANT_BOOL* result) override;
  HRESULT STDMETHODCALLTYPE GetFavourites(_Reports** oReports, VARIANT_BOOL* bStripPath) override;

 private:
  SessionSettings settings_;
};

}  // namespace mervane::server
