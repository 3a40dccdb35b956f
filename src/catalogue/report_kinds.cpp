// The extension table and the rule for taking an extension.
#include "catalogue/report_kinds.h"

namespace mervane {

const std::array<ReportExtension, 11> kReportExtensions = {{
    {u"RPT", ReportFamily::Crystal},
    {u"SRT", ReportFamily::VardoOlder},
    {u"SLY", ReportFamily::VardoOlder},
    {u"SLT", ReportFamily::VardoOlder},
    {u"SLB", ReportFamily::VardoOlder},
    {u"STM", ReportFamily::VardoOlder},
    {u"REPORT", ReportFamily::VardoNewer},
    {u"LAYOUT", ReportFamily::VardoNewer},
    {u"LABEL", ReportFamily::VardoNewer},
    {u"TEMPLATE", ReportFamily::VardoNewer},
    {u"LETTER", ReportFamily::VardoNewer},
}};

const std::array<std::u16string_view, 11> kExportExtensions = {
    u"rpt", u"srt", u"sly", u"slt", u"slb", u"stm", u"report", u"layout", u"letter", u"label", u"template",
};

Text extensionOf(TextView fileName) {
  std::size_t dot = fileName.rfind(u'.');
  if (dot == TextView::npos) return Text(fileName);
  return Text(fileName.substr(dot + 1));
}

ReportFamily classifyFileName(TextView fileName) {
  Text ext = upper(extensionOf(fileName));
  for (const ReportExtension& e : kReportExtensions)
    if (ext == e.upperName) return e.family;
  return ReportFamily::None;
}

Text kindText(ReportFamily family) {
  switch (family) {
    case ReportFamily::Crystal: return u"Crystal";
    case ReportFamily::VardoOlder:
    case ReportFamily::VardoNewer: return u"Vardo";
    case ReportFamily::None: break;
  }
  return Text();
}

}  // namespace mervane
