// The designer control: the report designer shown on the designer window's
// Design tab. A child window holding the field list (left), the design
// surface (middle) and the property panel (right), with the menus and keys
// its host window takes from it.
//
// The host owns the menu bar: it calls appendMenus() once, forwards every
// WM_COMMAND to onCommand() and every message of its loop to
// translateAccelerator(). The File menu's commands (Save, Save As, Print,
// Export, Close) are the host's to carry out: onCommand() returns false for
// them, as for any id that is not the designer's.
//
// Nothing here writes a file: the report changes in memory, as one undoable
// command per change, and the report is told it changed.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <vector>

#include "authoring/designer/editor.h"
#include "authoring/designer/field_list.h"
#include "components/forgiving.h"

namespace mervane::engine {
class Report;
}

namespace mervane::authoring::win {

class PropertyPanel;

// Menu command ids.
enum DesignerCommand : UINT {
  // File: carried out by the host window.
  kCommandSave = 0x7100,
  kCommandSaveAs,
  kCommandPrint,
  kCommandExport,
  kCommandClose,
  // Edit
  kCommandUndo = 0x7110,
  kCommandRedo,
  kCommandCut,
  kCommandCopy,
  kCommandPaste,
  kCommandDelete,
  kCommandSelectAll,
  // Insert
  kCommandInsertText = 0x7120,
  kCommandInsertField,
  kCommandInsertSpecialField,
  kCommandInsertFormula,
  kCommandInsertSummary,
  kCommandInsertGroup,
  kCommandInsertLine,
  kCommandInsertBox,
  kCommandInsertSubreport,
  // Report
  kCommandReportTitle = 0x7130,
  kCommandRecordFilter,
  kCommandSort,
  kCommandLinks,
  kCommandPageSetup,
  // Report: subreports and tables
  kCommandSubreportLinks = 0x7190,
  kCommandTables,
  // View
  kCommandShowGrid = 0x7140,
  kCommandSnapToGrid,
  kCommandZoom50,
  kCommandZoom75,
  kCommandZoom100,
  kCommandZoom150,
  kCommandZoom200,
  // Insert, continued
  kCommandInsertPicture = 0x7160,
  kCommandInsertPictureField,
  // Parameters
  kCommandParameters = 0x7170,
  kCommandParameterValues,  // carried out by the host window: the values are the run's
  kCommandInsertParameterField,
  // Conditional formatting and running totals
  kCommandConditionalFormatting = 0x7180,  // the selected objects', else the current section's
  kCommandSectionConditions,               // the current section's
  kCommandInsertRunningTotal,
  kCommandEditRunningTotal,  // the running total the selected field shows
  // Format: arranging the selection relative to the object clicked last.
  kCommandAlignLeft = 0x71A0,
  kCommandAlignRight,
  kCommandAlignTop,
  kCommandAlignBottom,
  kCommandAlignCentres,
  kCommandAlignMiddles,
  kCommandSameWidth,
  kCommandSameHeight,
  kCommandSameSize,
  kCommandSpaceAcross,
  kCommandSpaceDown,
  // Format: the selection's text (also on the toolbar).
  kCommandBold = 0x71B0,
  kCommandItalic,
  kCommandUnderline,
  kCommandTextLeft,
  kCommandTextCentre,
  kCommandTextRight,
  kCommandFontColour,
  kCommandFontName,  // the toolbar's boxes
  kCommandFontSize,
  // Objects and sections: context menus, Report > Groups.
  kCommandBringToFront = 0x71C0,
  kCommandSendToBack,
  kCommandProperties,
  kCommandEditText,
  kCommandSectionOptions,
  kCommandGroups,
  kCommandDeleteGroup,
  kCommandZoomIn,
  kCommandZoomOut,
  kCommandLastComfort = 0x71DF,
  // The report tabs.
  kCommandCloseSubreport = 0x71E8,  // the subreport tab shown
};

// An entry of the context menus: other areas append theirs (conditional
// formatting, subreports) to contextEntries(). `when` says where it
// appears; id 0 is a separator.
struct ContextEntry {
  enum Where { Objects = 1, Sections = 2, Both = 3 } where = Objects;
  UINT id = 0;
  const wchar_t* text = nullptr;
};
std::vector<ContextEntry>& contextEntries();

class DesignerControl {
 public:
  DesignerControl();
  ~DesignerControl();
  DesignerControl(const DesignerControl&) = delete;
  DesignerControl& operator=(const DesignerControl&) = delete;

  HWND create(HWND parent, int id = 0);
  HWND hwnd() const;

  // The report to design; null shows an empty designer. The report must
  // outlive its time in the designer.
  void setReport(engine::Report* report);
  // The same for a document without a report object around it; `changed`
  // is called after each change.
  void setDocument(engine::ReportDocument* document, std::function<void()> changed);

  // Display options by their numbers (design_options.h says which is which).
  void setDisplayOption(int number, bool value);
  void setShowGrid(bool show);
  void setSnapToGrid(bool snap);
  void setShowFieldList(bool show);
  void setReadOnly(bool readOnly);
  void setZoom(int percent);

  // Where the field list's columns come from (by default each table's
  // database through ODBC). Asked on a thread of its own.
  void setColumnSource(std::shared_ptr<designer::ColumnSource> source);

  void appendMenus(HMENU menuBar);
  bool onCommand(UINT id);
  bool translateAccelerator(MSG& message);

  // For the host window and the tests.
  designer::Editor& editor();
  HWND canvas() const;
  HWND fieldTree() const;
  PropertyPanel& properties();
  // The canvas's client point of a surface point.
  POINT canvasPoint(designer::Point surface) const;
  // The field list's item for a column, a special field (table empty,
  // column its name), a formula (table "@") or a parameter (table "?");
  // null when not listed.
  void* fieldItem(const Text& table, const Text& column) const;
  // Whether the field list's columns are still being read.
  bool readingColumns() const;
  // The tabs of the reports being designed: the main report's, then one per
  // subreport opened; shown while a subreport's tab is open.
  HWND reportTabs() const;
  // Opens a subreport of the main report on a tab of its own, or shows its
  // tab again, as a double-click on it does; false when `object` is not one.
  bool openSubreport(designer::ObjectRef object);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The designer as its host window drives it, under the library's failure
// policy: each call is skipped when there is no designer or the call fails.
// The host keeps the designer; the wrapper only borrows it.
class ForgivingDesignerControl : public ForgivingPart<DesignerControl, std::shared_ptr<DesignerControl>> {
 public:
  explicit ForgivingDesignerControl(DesignerControl* designer)
      : ForgivingPart(std::shared_ptr<DesignerControl>(std::shared_ptr<void>(), designer)) {}

  void setReport(engine::Report* report) noexcept { step([&](DesignerControl& d) { d.setReport(report); }); }
  void setDisplayOption(int number, bool value) noexcept {
    step([&](DesignerControl& d) { d.setDisplayOption(number, value); });
  }
  void onCommand(UINT id) noexcept { step([&](DesignerControl& d) { d.onCommand(id); }); }
};

}  // namespace mervane::authoring::win
