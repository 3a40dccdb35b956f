// The host components as COM objects: each is a thin class that turns BSTRs
// and VARIANTs into plain values and delegates to program_settings.h,
// vardo_files.h and vardo_format.h.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "MervaneHost.h"
#include "host/vardo_format.h"
#include "server/dispatch.h"

namespace mervane::host {

class SettingsObject final : public server::DispatchObject<SettingsObject, ISettings> {
 public:
  static const IID& interfaceId() { return IID_ISettings; }
  static std::span<const IID* const> earlierInterfaceIds() { return {}; }

  HRESULT STDMETHODCALLTYPE DeleteSetting(BSTR app, BSTR section, BSTR key) override;
  HRESULT STDMETHODCALLTYPE GetAllSettings(BSTR app, BSTR section, VARIANT* settings) override;
  HRESULT STDMETHODCALLTYPE GetSetting(BSTR app, BSTR section, BSTR key, BSTR fallback, BSTR* value) override;
  HRESULT STDMETHODCALLTYPE SaveSetting(BSTR app, BSTR section, BSTR key, BSTR value) override;
};

// The "ProgramReports" setting as a service holds it.
struct ProgramReports {
  std::wstring setting;
  std::vector<std::wstring> folders;
};

class LegacyReportDefinitionObject final
    : public server::DispatchObject<LegacyReportDefinitionObject, ILegacyReportDefinition> {
 public:
  explicit LegacyReportDefinitionObject(std::shared_ptr<ProgramReports> base) : base_(std::move(base)) {}
  static const IID& interfaceId() { return IID_ILegacyReportDefinition; }
  static std::span<const IID* const> earlierInterfaceIds() { return {}; }

  HRESULT STDMETHODCALLTYPE put_Name(BSTR name) override;
  HRESULT STDMETHODCALLTYPE get_Name(BSTR* name) override;
  HRESULT STDMETHODCALLTYPE Load() override;
  HRESULT STDMETHODCALLTYPE get_Title(BSTR* title) override;
  HRESULT STDMETHODCALLTYPE get_ApplicationData(LONG* data) override;
  HRESULT STDMETHODCALLTYPE get_FullPath(BSTR* path) override;

 private:
  std::shared_ptr<ProgramReports> base_;
  std::wstring name_, fullPath_, title_;
  LONG applicationData_ = 0;
};

class LegacyReportServiceObject final
    : public server::DispatchObject<LegacyReportServiceObject, ILegacyReportService> {
 public:
  static const IID& interfaceId() { return IID_ILegacyReportService; }
  static std::span<const IID* const> earlierInterfaceIds() { return {}; }

  HRESULT STDMETHODCALLTYPE put_ProgramReports(BSTR folders) override;
  HRESULT STDMETHODCALLTYPE get_ProgramReports(BSTR* folders) override;
  HRESULT STDMETHODCALLTYPE GetReportDefinition(ILegacyReportDefinition** definition) override;

 private:
  // Shared with every definition handed out: a definition resolves names
  // against the service's current folders when it loads.
  std::shared_ptr<ProgramReports> base_ = std::make_shared<ProgramReports>();
};

class ReportPropertyReaderObject final
    : public server::DispatchObject<ReportPropertyReaderObject, IReportPropertyReader> {
 public:
  static const IID& interfaceId() { return IID_IReportPropertyReader; }
  static std::span<const IID* const> earlierInterfaceIds() { return {}; }

  HRESULT STDMETHODCALLTYPE GetTitle(BSTR path, BSTR* title) override;
  HRESULT STDMETHODCALLTYPE GetProperty(BSTR path, BSTR name, BSTR* value) override;

 private:
  // Hosts ask for a file's title and then its properties: the last file
  // read is kept while its size and time stay the same.
  const VardoProperties& document(BSTR path);
  std::wstring cachedPath_;
  WIN32_FILE_ATTRIBUTE_DATA cachedStamp_ = {};
  std::unique_ptr<VardoProperties> cached_, lastUncached_;
};

}  // namespace mervane::host
