// The Vardo report readers over COM: the legacy report service with its
// report definition (older family, named relative to the "ProgramReports"
// folders) and the report property reader (newer family, by full path).
#include "host/host_call.h"
#include "host/host_objects.h"
#include "host/vardo_files.h"
#include "host/vardo_format.h"

namespace mervane::host {

namespace {

// Checks a file name argument; an empty one names no file.
std::wstring fileArgument(std::wstring path) {
  if (path.empty()) throw win::ComError(E_INVALIDARG);
  return path;
}

VardoProperties documentAt(BSTR path) { return readDocument(readFileHead(fileArgument(wideOf(path)), kHeaderLimit)); }

}  // namespace

HRESULT LegacyReportDefinitionObject::put_Name(BSTR name) {
  return hostCall([&] {
    name_ = wideOf(name);
    fullPath_.clear();
    title_.clear();
    applicationData_ = 0;
    return S_OK;
  });
}

HRESULT LegacyReportDefinitionObject::get_Name(BSTR* name) { return hostCall([&] { return putBstr(name, name_); }); }

HRESULT LegacyReportDefinitionObject::Load() {
  return hostCall([&] {
    title_.clear();
    applicationData_ = 0;
    fullPath_ = resolveDefinitionPath(base_->folders, fileArgument(name_));
    VardoProperties properties = readDefinition(readFileHead(fullPath_, kHeaderLimit));
    title_ = win::toWide(properties.find(u"TITLE").value_or(Text()));
    applicationData_ = definitionApplicationData(properties);
    return S_OK;
  });
}

HRESULT LegacyReportDefinitionObject::get_Title(BSTR* title) { return hostCall([&] { return putBstr(title, title_); }); }

HRESULT LegacyReportDefinitionObject::get_ApplicationData(LONG* data) {
  if (!data) return E_POINTER;
  *data = applicationData_;
  return S_OK;
}

HRESULT LegacyReportDefinitionObject::get_FullPath(BSTR* path) { return hostCall([&] { return putBstr(path, fullPath_); }); }

HRESULT LegacyReportServiceObject::put_ProgramReports(BSTR folders) {
  return hostCall([&] {
    base_->setting = wideOf(folders);
    base_->folders = programReportFolders(base_->setting);
    return S_OK;
  });
}

HRESULT LegacyReportServiceObject::get_ProgramReports(BSTR* folders) {
  return hostCall([&] { return putBstr(folders, base_->setting); });
}

HRESULT LegacyReportServiceObject::GetReportDefinition(ILegacyReportDefinition** definition) {
  if (!definition) return E_POINTER;
  *definition = nullptr;
  return hostCall([&] {
    *definition = LegacyReportDefinitionObject::create(base_).detach();
    return S_OK;
  });
}

const VardoProperties& ReportPropertyReaderObject::document(BSTR path) {
  std::wstring file = fileArgument(wideOf(path));
  WIN32_FILE_ATTRIBUTE_DATA stamp = {};
  bool stamped = GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &stamp);
  if (cached_ && stamped && file == cachedPath_ && stamp.nFileSizeLow == cachedStamp_.nFileSizeLow &&
      stamp.nFileSizeHigh == cachedStamp_.nFileSizeHigh &&
      CompareFileTime(&stamp.ftLastWriteTime, &cachedStamp_.ftLastWriteTime) == 0)
    return *cached_;
  cached_.reset();
  auto read = std::make_unique<VardoProperties>(documentAt(path));
  if (stamped) {
    cachedPath_ = file;
    cachedStamp_ = stamp;
    cached_ = std::move(read);
    return *cached_;
  }
  lastUncached_ = std::move(read);
  return *lastUncached_;
}

HRESULT ReportPropertyReaderObject::GetTitle(BSTR path, BSTR* title) {
  if (!title) return E_POINTER;
  *title = nullptr;
  return hostCall([&] { return putBstr(title, win::toWide(document(path).find(u"Title").value_or(Text()))); });
}

HRESULT ReportPropertyReaderObject::GetProperty(BSTR path, BSTR name, BSTR* value) {
  if (!value) return E_POINTER;
  *value = nullptr;
  return hostCall([&] {
    std::wstring wanted = wideOf(name);
    Text key(wanted.begin(), wanted.end());
    return putBstr(value, win::toWide(document(path).find(key).value_or(Text())));
  });
}

}  // namespace mervane::host
