// The designer control: its child windows, field list, menus, keys,
// clipboard and dialogs. The rules are the editor's; this is the plumbing.
#include "authoring/designer/win/designer_control.h"

#include <commctrl.h>
#include <commdlg.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <mutex>
#include <thread>

#include "authoring/designer/conditions.h"
#include "authoring/designer/parameter_uses.h"
#include "authoring/designer/properties.h"
#include "authoring/designer/report_tables.h"
#include "authoring/designer/win/design_canvas.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/designer/win/designer_toolbar.h"
#include "authoring/designer/win/property_panel.h"
#include "base/win/com.h"
#include "base/win/form.h"
#include "connections/win/select_tables_form.h"
#include "engine/data/table_connection.h"
#include "engine/engine_objects.h"
#include "engine/layout/picture.h"
#include "engine/model/definition_stream.h"
#include "engine/win/gdi_measure.h"
#include "engine/win/wic_picture_decoder.h"

namespace mervane::authoring::win {

using designer::Point;
using mervane::win::toWide;
namespace model = engine::model;

namespace {

constexpr wchar_t kClassName[] = L"MervaneDesigner";
constexpr UINT kColumnsRead = WM_APP + 0x41;  // the field list's columns are in
constexpr int kTreeId = 1, kCanvasId = 2, kListId = 3, kToolbarId = 4, kTabsId = 5;
constexpr int kTreeWidth = 190, kPanelWidth = 250, kTabsHeight = 24;  // pixels at 96 dpi

// The clipboard, open for a scope.
class OpenClipboardScope {
 public:
  explicit OpenClipboardScope(HWND owner) {
    for (int attempt = 0; attempt < 10 && !(open_ = OpenClipboard(owner)); ++attempt) Sleep(10);
  }
  ~OpenClipboardScope() {
    if (open_) CloseClipboard();
  }
  OpenClipboardScope(const OpenClipboardScope&) = delete;
  OpenClipboardScope& operator=(const OpenClipboardScope&) = delete;
  explicit operator bool() const { return open_ != FALSE; }

 private:
  BOOL open_ = FALSE;
};

bool putOnClipboard(UINT format, const void* bytes, std::size_t size) {
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, std::max<std::size_t>(size, 1));
  if (!memory) return false;
  if (void* target = GlobalLock(memory)) {
    std::memcpy(target, bytes, size);
    GlobalUnlock(memory);
    if (SetClipboardData(format, memory)) return true;
  }
  GlobalFree(memory);
  return false;
}

bool isEditBox(HWND window) {
  wchar_t name[32] = {};
  GetClassNameW(window, name, 32);
  return _wcsicmp(name, L"Edit") == 0 || _wcsicmp(name, L"ComboBox") == 0;
}

// The Format menu's arranging commands and what each does to the selection.
constexpr std::pair<UINT, designer::Arrangement> kArrangements[] = {
    {kCommandAlignLeft, designer::Arrangement::AlignLeft},       {kCommandAlignRight, designer::Arrangement::AlignRight},
    {kCommandAlignTop, designer::Arrangement::AlignTop},         {kCommandAlignBottom, designer::Arrangement::AlignBottom},
    {kCommandAlignCentres, designer::Arrangement::AlignCentres}, {kCommandAlignMiddles, designer::Arrangement::AlignMiddles},
    {kCommandSameWidth, designer::Arrangement::SameWidth},       {kCommandSameHeight, designer::Arrangement::SameHeight},
    {kCommandSameSize, designer::Arrangement::SameSize},         {kCommandSpaceAcross, designer::Arrangement::SpaceAcross},
    {kCommandSpaceDown, designer::Arrangement::SpaceDown}};

// The context menus' entries, in the order they appear.
std::vector<ContextEntry> defaultContextEntries() {
  using E = ContextEntry;
  return {{E::Objects, kCommandEditText, L"&Edit Text"},
          {E::Objects, kCommandCut, L"Cu&t\tCtrl+X"},
          {E::Objects, kCommandCopy, L"&Copy\tCtrl+C"},
          {E::Both, kCommandPaste, L"&Paste\tCtrl+V"},
          {E::Objects, kCommandDelete, L"&Delete\tDel"},
          {E::Objects, 0, nullptr},
          {E::Objects, kCommandBringToFront, L"Bring to &Front"},
          {E::Objects, kCommandSendToBack, L"Send to &Back"},
          {E::Objects, 0, nullptr},
          {E::Objects, kCommandConditionalFormatting, L"Conditional F&ormatting..."},
          {E::Objects, kCommandProperties, L"P&roperties"},
          {E::Sections, 0, nullptr},
          {E::Sections, kCommandSectionOptions, L"&Section Options..."},
          {E::Sections, kCommandSectionConditions, L"Section C&onditions..."},
          {E::Sections, kCommandInsertGroup, L"Insert &Group..."},
          {E::Sections, kCommandDeleteGroup, L"De&lete Group"}};
}

}  // namespace

std::vector<ContextEntry>& contextEntries() {
  static std::vector<ContextEntry> entries = defaultContextEntries();
  return entries;
}

struct DesignerControl::Impl {
  struct FieldEntry {
    enum Kind { Column, Special, Formula, RunningTotal, Parameter } kind = Column;
    model::FieldRef field;
    model::SpecialFieldKind special = model::SpecialFieldKind::PageNumber;
    Text formula;  // a formula's or a parameter's name
    designer::ColumnShape shape;  // of a column, as the database declares it
  };
  // Columns read on the worker thread, handed over under the lock.
  struct ColumnJob {
    std::mutex lock;
    std::vector<std::optional<std::vector<designer::FieldColumn>>> columns;
  };

  HWND hwnd = nullptr;
  designer::Editor editor;
  DesignCanvas canvas;
  PropertyPanel panel;
  DesignerToolbar toolbar;
  HWND tree = nullptr;
  // The report tabs: the main report's, then one per subreport opened,
  // each keeping what was selected and where it was scrolled while another
  // is shown; the strip shows while there is a subreport tab. A tab finds
  // its subreport again by the object's name after every change.
  struct TabView {
    designer::Selection selection;
    POINT scroll{};
  };
  struct SubreportTab {
    Text objectName;
    Text subreportName;
    designer::ObjectRef object;  // where it stood when last found
    TabView view;
  };
  HWND tabs = nullptr;
  std::vector<SubreportTab> subreportTabs;  // tab n + 1
  std::size_t shownTab = 0;                 // 0: the main report's
  TabView mainView;
  // Columns read from the database, by case-folded table alias: the field
  // list keeps them across the main report and its subreports.
  std::map<Text, std::vector<designer::FieldColumn>> knownColumns;
  // The main report's database, read once for Insert Subreport and Tables.
  bool databaseTried = false;
  std::unique_ptr<engine::CatalogueCache> database;
  DataSource databaseSource;
  Text databaseProblem;
  std::shared_ptr<designer::ColumnSource> columnSource;
  bool defaultSource = true;
  designer::FieldList fields;
  std::vector<FieldEntry> entries;
  std::vector<HTREEITEM> entryItems;
  Text fieldSignature;
  std::shared_ptr<ColumnJob> job;
  std::thread worker;
  unsigned generation = 0;
  HTREEITEM dragging = nullptr;
  HMENU editMenu = nullptr, insertMenu = nullptr, viewMenu = nullptr, zoomMenu = nullptr, formatMenu = nullptr, reportMenu = nullptr;
  HACCEL accelerators = nullptr, fileAccelerators = nullptr;
  UINT clipboardFormat = RegisterClipboardFormatW(L"Mervane100 Report Objects");
  bool showFieldList = true;
  std::uint64_t shownRevision = ~0ull;
  designer::Selection shownSelection;

  ~Impl() {
    if (worker.joinable()) worker.join();
    if (accelerators) DestroyAcceleratorTable(accelerators);
    if (fileAccelerators) DestroyAcceleratorTable(fileAccelerators);
  }

  static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<Impl*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    if (!self) return DefWindowProcW(hwnd, message, wParam, lParam);
    try {
      return self->onMessage(message, wParam, lParam);
    } catch (...) {
      return DefWindowProcW(hwnd, message, wParam, lParam);
    }
  }

  LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
      case WM_SIZE: arrange(); return 0;
      case WM_NOTIFY: {
        const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
        if (header.hwndFrom == tabs && header.code == TCN_SELCHANGE) {
          showTab(static_cast<std::size_t>(std::max(0, TabCtrl_GetCurSel(tabs))));
          return 0;
        }
        if (header.hwndFrom == tabs && header.code == NM_RCLICK) {
          tabMenu();
          return TRUE;
        }
        if (panel.onNotify(header) || toolbar.onNotify(header)) return 0;
        break;
      }
      case WM_SETFOCUS: SetFocus(canvas.hwnd()); return 0;
      case WM_COMMAND:
        // The toolbar's buttons and boxes, and what the surface asks for.
        if (auto change = toolbar.boxCommand(wParam, lParam)) {
          editor.setProperty(change->first, change->second);
          acted();
        } else if (HIWORD(wParam) == BN_CLICKED || reinterpret_cast<HWND>(lParam) == canvas.hwnd()) {
          onCommand(LOWORD(wParam));
        }
        return 0;
      case WM_CONTEXTMENU:
        if (reinterpret_cast<HWND>(wParam) == canvas.hwnd()) {
          contextMenu(lParam);
          return 0;
        }
        if (reinterpret_cast<HWND>(wParam) == tabs) {
          tabMenu();
          return 0;
        }
        break;
      case kColumnsRead:
        if (wParam == generation) takeColumns();
        return 0;
    }
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }

  void arrange() {
    RECT client;
    GetClientRect(hwnd, &client);
    // The field list, panel and tabs grow with the screen's text size, as
    // the texts in them do.
    const int dpi = mervane::win::dpiOf(hwnd);
    const int treeWidth = showFieldList ? std::min<int>(MulDiv(kTreeWidth, dpi, 96), client.right / 4) : 0;
    const int panelWidth = std::min<int>(MulDiv(kPanelWidth, dpi, 96), client.right / 3);
    toolbar.resize(client.right);
    const int top = toolbar.height(), height = std::max<int>(client.bottom - top, 0);
    MoveWindow(tree, 0, top, treeWidth, height, TRUE);
    ShowWindow(tree, showFieldList ? SW_SHOW : SW_HIDE);
    const int canvasWidth = std::max<int>(client.right - treeWidth - panelWidth, 0);
    const bool tabbed = !subreportTabs.empty();
    const int tabsHeight = tabbed ? std::min<int>(MulDiv(kTabsHeight, dpi, 96), height) : 0;
    MoveWindow(tabs, treeWidth, top, canvasWidth, tabsHeight, TRUE);
    ShowWindow(tabs, tabbed ? SW_SHOW : SW_HIDE);
    MoveWindow(canvas.hwnd(), treeWidth, top + tabsHeight, canvasWidth, height - tabsHeight, TRUE);
    MoveWindow(panel.list(), client.right - panelWidth, top, panelWidth, height, TRUE);
    ListView_SetColumnWidth(panel.list(), 0, panelWidth * 11 / 20);
    ListView_SetColumnWidth(panel.list(), 1, LVSCW_AUTOSIZE_USEHEADER);
  }

  // After anything the person did: the panel, the surface, the menus and
  // the field list catch up.
  void acted() {
    followTabs();
    const bool changed = editor.revision() != shownRevision || !(editor.selection() == shownSelection);
    if (changed && editor.document()) panel.show(designer::describeSelection(*editor.document(), editor.selection()));
    if (changed && !editor.document()) panel.show({});
    shownRevision = editor.revision();
    shownSelection = editor.selection();
    canvas.refresh();
    updateMenus();
    if (editor.document() && signature() != fieldSignature) fillFieldList(designer::usedFields(*editor.document()), false);
  }

  // The tables and formulas the field list shows, in one text.
  Text signature() const {
    Text s;
    const auto* report = editor.definition();
    if (!report) return s;
    for (const auto& t : report->data.tables) s += t.alias + u'\n';
    s += u'\t';
    for (const auto& f : report->formulas) s += f.name + u'\n';
    s += u'\t';
    for (const auto& t : report->runningTotals) s += t.name + u'\n';
    for (const auto& p : report->parameters) s += p.name + u'\n';
    return s;
  }

  void setDocument(engine::ReportDocument* document, std::function<void()> changed) {
    editor.setDocument(document, std::move(changed));
    knownColumns.clear();
    databaseTried = false;
    database.reset();
    subreportTabs.clear();
    shownTab = 0;
    mainView = {};
    if (tabs) TabCtrl_DeleteAllItems(tabs);
    if (hwnd) arrange();
    dragging = nullptr;
    shownRevision = ~0ull;
    fillFieldList(document ? designer::usedFields(*document) : designer::FieldList{}, true);
    acted();
  }

  void fillFieldList(designer::FieldList list, bool readColumns) {
    // Columns read from the database stay while the tables are the same.
    if (!readColumns)
      for (auto& t : list.tables)
        if (auto known = knownColumns.find(caseFoldKey(t.alias)); known != knownColumns.end()) {
          t.columns = known->second;
          t.fromDatabase = true;
        }
    fields = std::move(list);
    fieldSignature = signature();
    SendMessageW(tree, WM_SETREDRAW, FALSE, 0);
    TreeView_DeleteAllItems(tree);
    entries.clear();
    entryItems.clear();
    const auto add = [this](HTREEITEM parent, const Text& text, LPARAM data) {
      std::wstring label = toWide(text);
      TVINSERTSTRUCTW item{};
      item.hParent = parent;
      item.hInsertAfter = TVI_LAST;
      item.item.mask = TVIF_TEXT | TVIF_PARAM;
      item.item.pszText = label.data();
      item.item.lParam = data;
      return TreeView_InsertItem(tree, &item);
    };
    const auto addEntry = [&](HTREEITEM parent, const Text& text, FieldEntry entry) {
      entries.push_back(std::move(entry));
      entryItems.push_back(add(parent, text, static_cast<LPARAM>(entries.size() - 1)));
    };
    if (editor.document()) {
      HTREEITEM database = add(TVI_ROOT, u"Database Fields", -1);
      for (const auto& t : fields.tables) {
        HTREEITEM table = add(database, t.alias, -1);
        for (const auto& c : t.columns)
          addEntry(table, c.name, {FieldEntry::Column, {t.alias, c.name}, {}, {}, c.shape});
        TreeView_Expand(tree, table, TVE_EXPAND);
      }
      TreeView_Expand(tree, database, TVE_EXPAND);
      HTREEITEM special = add(TVI_ROOT, u"Special Fields", -1);
      for (const auto& s : fields.specials) addEntry(special, s.name, {FieldEntry::Special, {}, s.kind});
      HTREEITEM formulas = add(TVI_ROOT, u"Formula Fields", -1);
      for (const auto& f : fields.formulas) addEntry(formulas, f, {FieldEntry::Formula, {}, {}, f});
      TreeView_Expand(tree, formulas, TVE_EXPAND);
      HTREEITEM totals = add(TVI_ROOT, u"Running Total Fields", -1);
      for (const auto& t : fields.runningTotals) addEntry(totals, t, {FieldEntry::RunningTotal, {}, {}, t});
      TreeView_Expand(tree, totals, TVE_EXPAND);
      HTREEITEM parameters = add(TVI_ROOT, u"Parameter Fields", -1);
      for (const auto& p : fields.parameters) addEntry(parameters, p, {FieldEntry::Parameter, {}, {}, p});
      TreeView_Expand(tree, parameters, TVE_EXPAND);
    }
    SendMessageW(tree, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(tree, nullptr, TRUE);
    if (readColumns) startReadingColumns();
  }

  // The database's columns, read on a thread of their own: a database that
  // is slow to answer never holds up the window.
  void startReadingColumns() {
    if (worker.joinable()) worker.join();
    ++generation;
    job.reset();
    const engine::ReportDocument* document = editor.document();
    if (!document || document->definition.data.tables.empty()) return;
    if (!columnSource && defaultSource) columnSource = designer::databaseColumns();
    if (!columnSource) return;
    // The worker gets a copy of what it needs, never the document itself.
    engine::ReportDocument tables;
    tables.definition.data.tables = document->definition.data.tables;
    tables.logOn = document->logOn;
    job = std::make_shared<ColumnJob>();
    worker = std::thread([job = job, source = columnSource, tables = std::move(tables), window = hwnd,
                          generation = generation] {
      std::vector<std::optional<std::vector<designer::FieldColumn>>> columns;
      for (const auto& t : tables.definition.data.tables) {
        try {
          columns.push_back(source->columns(tables, t));
        } catch (...) {
          columns.push_back(std::nullopt);
        }
      }
      {
        std::lock_guard<std::mutex> hold(job->lock);
        job->columns = std::move(columns);
      }
      PostMessageW(window, kColumnsRead, generation, 0);
    });
  }

  void takeColumns() {
    if (!job || !editor.document()) return;
    std::vector<std::optional<std::vector<designer::FieldColumn>>> columns;
    {
      std::lock_guard<std::mutex> hold(job->lock);
      columns = std::move(job->columns);
    }
    if (worker.joinable()) worker.join();
    job.reset();
    designer::FieldList list = designer::usedFields(*editor.document());
    const auto& tables = editor.document()->definition.data.tables;
    for (std::size_t i = 0; i < columns.size() && i < list.tables.size() && i < tables.size(); ++i)
      if (columns[i] && equalsNoCase(list.tables[i].alias, tables[i].alias)) {
        knownColumns[caseFoldKey(tables[i].alias)] = *columns[i];
        list.tables[i].columns = std::move(*columns[i]);
        list.tables[i].fromDatabase = true;
      }
    fillFieldList(std::move(list), false);
  }

  // Dragging a field from the list onto the surface, with the mouse
  // captured by the list between press and release.
  static LRESULT CALLBACK treeProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR data) {
    auto* self = reinterpret_cast<Impl*>(data);
    try {
      switch (message) {
        case WM_LBUTTONDOWN: {
          HTREEITEM item = self->entryAt(lParam);
          if (!item || !self->editor.editable()) break;
          TreeView_SelectItem(window, item);
          SetFocus(window);
          SetCapture(window);
          self->dragging = item;
          return 0;
        }
        case WM_LBUTTONDBLCLK:
          if (HTREEITEM item = self->entryAt(lParam)) {
            self->insertEntry(item);
            return 0;
          }
          break;
        case WM_MOUSEMOVE:
          if (self->dragging) {
            SetCursor(LoadCursorW(nullptr, self->overCanvas(lParam) ? IDC_CROSS : IDC_NO));
            return 0;
          }
          break;
        case WM_LBUTTONUP:
          if (HTREEITEM item = self->dragging) {
            self->dragging = nullptr;
            ReleaseCapture();
            POINT at{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
            if (self->overCanvas(lParam)) {
              MapWindowPoints(window, self->canvas.hwnd(), &at, 1);
              self->dropEntry(item, self->canvas.toSurface(at));
            }
            return 0;
          }
          break;
        case WM_CAPTURECHANGED: self->dragging = nullptr; break;
        case WM_NCDESTROY: RemoveWindowSubclass(window, treeProc, 1); break;
      }
    } catch (...) {
    }
    return DefSubclassProc(window, message, wParam, lParam);
  }

  HTREEITEM entryAt(LPARAM lParam) const {
    TVHITTESTINFO hit{};
    hit.pt = {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
    HTREEITEM item = TreeView_HitTest(tree, &hit);
    if (!item || !(hit.flags & TVHT_ONITEM)) return nullptr;
    return entryIndex(item) ? item : nullptr;
  }

  std::optional<std::size_t> entryIndex(HTREEITEM item) const {
    auto found = std::find(entryItems.begin(), entryItems.end(), item);
    if (found == entryItems.end()) return std::nullopt;
    return static_cast<std::size_t>(found - entryItems.begin());
  }

  bool overCanvas(LPARAM lParam) const {
    POINT at{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
    MapWindowPoints(tree, canvas.hwnd(), &at, 1);
    RECT client;
    GetClientRect(canvas.hwnd(), &client);
    return PtInRect(&client, at) != FALSE;
  }

  model::ReportObject objectFor(const FieldEntry& entry) {
    model::ReportObject o;
    switch (entry.kind) {
      case FieldEntry::Column:
        o.kind = model::ObjectKind::DatabaseField;
        o.field = entry.field;
        o.name = editor.uniqueName(entry.field.column);
        break;
      case FieldEntry::Special:
        o.kind = model::ObjectKind::SpecialField;
        o.special = entry.special;
        o.name = editor.uniqueName(u"Special");
        break;
      case FieldEntry::Formula:
        o.kind = model::ObjectKind::FormulaField;
        o.formula = entry.formula;
        o.name = editor.uniqueName(entry.formula);
        break;
      case FieldEntry::RunningTotal:
        o.kind = model::ObjectKind::RunningTotalField;
        o.formula = entry.formula;
        o.name = editor.uniqueName(entry.formula);
        o.format.alignment = model::Alignment::Right;
        break;
      case FieldEntry::Parameter:
        o.kind = model::ObjectKind::ParameterField;
        o.text = entry.formula;
        o.name = editor.uniqueName(entry.formula);
        break;
    }
    return o;
  }

  void dropEntry(HTREEITEM item, Point at) {
    auto index = entryIndex(item);
    if (!index) return;
    const FieldEntry entry = entries[*index];
    if (entry.kind == FieldEntry::Column)
      editor.dropColumn(entry.field, at, entry.shape);
    else
      editor.placeObject(objectFor(entry), at);
    SetFocus(canvas.hwnd());
    acted();
  }

  void insertEntry(HTREEITEM item) {
    auto index = entryIndex(item);
    if (!index) return;
    const FieldEntry& entry = entries[*index];
    if (entry.kind == FieldEntry::Column)
      editor.insertColumn(entry.field, entry.shape);
    else
      editor.insertObject(objectFor(entry));
    acted();
  }

  // --- the report tabs ---

  const model::ReportDefinition* mainDefinition() const {
    return editor.mainDocument() ? &editor.mainDocument()->definition : nullptr;
  }

  void addTabItem(std::size_t index, const Text& caption) {
    std::wstring text = toWide(caption);
    TCITEMW item{};
    item.mask = TCIF_TEXT;
    item.pszText = text.data();
    SendMessageW(tabs, TCM_INSERTITEMW, index, reinterpret_cast<LPARAM>(&item));
  }

  // A double-click on a subreport of the main report: its tab, opened now
  // or shown again as it was left.
  bool openSubreport(designer::ObjectRef object) {
    const model::ReportDefinition* main = mainDefinition();
    if (!main || object.section >= main->sections.size() ||
        object.index >= main->sections[object.section].objects.size())
      return false;
    const model::ReportObject& o = main->sections[object.section].objects[object.index];
    if (o.kind != model::ObjectKind::Subreport || !o.subreport.definition) return false;
    for (std::size_t i = 0; i < subreportTabs.size(); ++i)
      if (findTab(i + 1) == object) {
        showTab(i + 1);
        return shownTab == i + 1;
      }
    if (subreportTabs.empty()) {
      TabCtrl_DeleteAllItems(tabs);
      addTabItem(0, u"Main Report");
    }
    subreportTabs.push_back({o.name, o.subreport.name, object, {}});
    addTabItem(subreportTabs.size(), o.subreport.name.empty() ? Text(u"Subreport") : o.subreport.name);
    arrange();
    showTab(subreportTabs.size());
    if (shownTab == subreportTabs.size()) return true;
    closeTab(subreportTabs.size());
    return false;
  }

  // The tab shown: its report opened in the editor with the selection and
  // scroll it had.
  void showTab(std::size_t index) {
    if (index > subreportTabs.size()) return;
    (shownTab == 0 ? mainView : subreportTabs[shownTab - 1].view) = {editor.selection(), canvas.scrollPosition()};
    bool opened = true;
    if (index == 0) {
      editor.closeSubreport();
    } else {
      SubreportTab& tab = subreportTabs[index - 1];
      const auto at = findTab(index);
      opened = at && editor.openSubreport(*at);
      if (opened) tab.object = *at;
    }
    if (!opened) {
      closeTab(index);
      return;
    }
    shownTab = index;
    TabCtrl_SetCurSel(tabs, static_cast<int>(index));
    const TabView& view = index == 0 ? mainView : subreportTabs[index - 1].view;
    editor.select(view.selection);
    showScope();
    canvas.setScrollPosition(view.scroll);
  }

  // Where tab `index`'s subreport stands now, if it is still there.
  std::optional<designer::ObjectRef> findTab(std::size_t index) const {
    const model::ReportDefinition* main = mainDefinition();
    if (!main || index == 0 || index > subreportTabs.size()) return std::nullopt;
    std::vector<Text> others;
    for (std::size_t i = 0; i < subreportTabs.size(); ++i)
      if (i + 1 != index) others.push_back(subreportTabs[i].objectName);
    const SubreportTab& tab = subreportTabs[index - 1];
    return designer::findSubreportAgain(*main, tab.objectName, tab.subreportName, tab.object, others);
  }

  // Closing a subreport's tab loses nothing: its changes are the main
  // report's already. The tab shown closing shows the main report's.
  void closeTab(std::size_t index) {
    if (index == 0 || index > subreportTabs.size()) return;
    const bool shown = index == shownTab;
    subreportTabs.erase(subreportTabs.begin() + static_cast<std::ptrdiff_t>(index - 1));
    TabCtrl_DeleteItem(tabs, static_cast<int>(index));
    if (shownTab > index) --shownTab;
    if (subreportTabs.empty()) {
      TabCtrl_DeleteAllItems(tabs);
      arrange();
    }
    if (!shown) return;
    shownTab = 0;
    editor.closeSubreport();
    TabCtrl_SetCurSel(tabs, 0);
    editor.select(mainView.selection);
    showScope();
    canvas.setScrollPosition(mainView.scroll);
  }

  // After every change: each tab's subreport found again; a tab whose
  // subreport is gone closes, and the one shown is read again from where
  // its object now stands.
  bool following = false;
  void followTabs() {
    if (following || subreportTabs.empty()) return;
    following = true;
    try {
      for (std::size_t index = subreportTabs.size(); index >= 1; --index) {
        const auto at = findTab(index);
        if (!at) {
          closeTab(index);
          continue;
        }
        subreportTabs[index - 1].object = *at;
        if (index == shownTab && editor.openedSubreport() != at) {
          const designer::Selection kept = editor.selection();
          if (editor.openSubreport(*at)) {
            editor.select(kept);
            showScope();
          } else {
            closeTab(index);
          }
        }
      }
      // The captions follow the subreports' names.
      for (std::size_t index = 1; index <= subreportTabs.size(); ++index) {
        const model::ReportDefinition* main = mainDefinition();
        const auto& at = subreportTabs[index - 1].object;
        const Text& name = main->sections[at.section].objects[at.index].subreport.name;
        if (name == subreportTabs[index - 1].subreportName) continue;
        subreportTabs[index - 1].subreportName = name;
        std::wstring text = toWide(name.empty() ? Text(u"Subreport") : name);
        TCITEMW item{};
        item.mask = TCIF_TEXT;
        item.pszText = text.data();
        SendMessageW(tabs, TCM_SETITEMW, index, reinterpret_cast<LPARAM>(&item));
      }
    } catch (...) {
    }
    following = false;
  }

  // A right click on a subreport's tab: Close.
  void tabMenu() {
    TCHITTESTINFO hit{};
    GetCursorPos(&hit.pt);
    ScreenToClient(tabs, &hit.pt);
    const int index = TabCtrl_HitTest(tabs, &hit);
    if (index <= 0) return;
    HMENU popup = CreatePopupMenu();
    AppendMenuW(popup, MF_STRING, kCommandCloseSubreport, L"&Close\tCtrl+F4");
    POINT at = hit.pt;
    ClientToScreen(tabs, &at);
    const UINT chosen = TrackPopupMenu(popup, TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY, at.x, at.y, 0, hwnd, nullptr);
    DestroyMenu(popup);
    if (chosen == kCommandCloseSubreport) {
      closeTab(static_cast<std::size_t>(index));
      acted();
    }
  }

  // The field list and panel for the report now shown; columns not read
  // yet are read.
  void showScope() {
    shownRevision = ~0ull;
    const engine::ReportDocument* document = editor.document();
    bool unread = false;
    if (document)
      for (const auto& t : document->definition.data.tables)
        unread = unread || (t.type == model::DatabaseType::SqlTable && !knownColumns.count(caseFoldKey(t.alias)));
    fillFieldList(document ? designer::usedFields(*document) : designer::FieldList{}, unread);
    canvas.refresh();
    acted();
  }

  // --- the database behind Insert Subreport and Tables ---

  engine::CatalogueCache* readDatabase() {
    if (databaseTried) return database.get();
    databaseTried = true;
    const engine::ReportDocument* main = editor.mainDocument();
    if (!main) return nullptr;
    for (const auto& t : main->definition.data.tables) {
      if (t.type != model::DatabaseType::SqlTable || t.location.empty()) continue;
      databaseSource = engine::data::tableDataSource(*main, t);
      break;
    }
    if (!databaseSource.given()) {
      databaseProblem = u"The report has no database tables.";
      return nullptr;
    }
    mervane::win::WaitCursor wait;
    try {
      database = std::make_unique<engine::CatalogueCache>(engine::data::openCatalogue(databaseSource, 15));
      database->find(u"");  // the table list, read now while the hourglass shows
    } catch (const engine::data::DataError& error) {
      databaseProblem = u"The report's database cannot be reached: " + error.message();
      database.reset();
    } catch (...) {
      databaseProblem = u"The report's database cannot be reached.";
      database.reset();
    }
    return database.get();
  }

  std::vector<designer::FieldColumn> databaseColumnsOf(const Text& table) {
    std::vector<designer::FieldColumn> out;
    if (auto known = knownColumns.find(caseFoldKey(table)); known != knownColumns.end()) return known->second;
    if (!database) return out;
    try {
      if (auto found = database->find(table))
        for (const auto& c : database->columns(*found)) out.push_back({c.name, {c.kind, c.size, c.decimals}});
    } catch (...) {
    }
    if (!out.empty()) knownColumns[caseFoldKey(table)] = out;
    return out;
  }

  const designer::ColumnShape* shapeOf(const model::FieldRef& field) const {
    if (field.isFormula()) return nullptr;
    auto known = knownColumns.find(caseFoldKey(field.table));
    if (known == knownColumns.end()) return nullptr;
    for (const auto& c : known->second)
      if (equalsNoCase(c.name, field.column)) return &c.shape;
    return nullptr;
  }

  void message(const Text& text, UINT flags = MB_ICONEXCLAMATION) {
    MessageBoxW(owner(), toWide(text).c_str(), L"Report Designer", flags | MB_OK);
  }

  // Insert > Subreport: the subreport on a table of the report's database,
  // its columns laid out in its details.
  void insertSubreport() {
    model::ReportObject o;
    win::FieldCatalogue choices = catalogue();
    if (engine::CatalogueCache* db = readDatabase()) {
      try {
        for (const Text& table : db->tables()) choices.otherTables.push_back({table, {}});
      } catch (...) {
      }
    }
    for (auto& t : choices.otherTables)
      if (auto known = knownColumns.find(caseFoldKey(t.table)); known != knownColumns.end())
        for (const auto& c : known->second) t.columns.push_back(c.name);
    if (!chooseSubreport(owner(), o.subreport, choices) || !o.subreport.definition) return;
    model::ReportDefinition& sub = *o.subreport.definition;
    if (!sub.data.tables.empty()) {
      model::Table table = sub.data.tables.front();
      if (database) {
        if (auto found = database->find(table.location)) {
          table = engine::catalogueTable(model::ReportDefinition{}, *database, databaseSource, *found);
          for (auto& link : o.subreport.links) link.subreportField.table = table.alias;
        }
      } else if (const engine::ReportDocument* main = editor.mainDocument()) {
        // Where the report's own tables are.
        for (const auto& t : main->definition.data.tables)
          if (t.type == model::DatabaseType::SqlTable) {
            table.connection = t.connection;
            table.logOn = t.logOn;
            break;
          }
      }
      engine::win::GdiMeasure measure;
      const std::int32_t width = std::max<std::int32_t>(1440, editor.layout().width() * 2 / 3);
      sub = designer::subreportOnTable(table, databaseColumnsOf(table.location), width, measure);
      o.width = width;
    } else {
      o.width = 2880;
    }
    if (o.subreport.onDemand) o.width = 1440;  // a link needs little room
    o.kind = model::ObjectKind::Subreport;
    // As high as the section it goes in; it grows there as it prints.
    const auto& sections = editor.definition()->sections;
    const std::size_t at = editor.currentSection();
    o.height = at < sections.size() ? std::clamp(sections[at].height, 240, 720) : 720;
    o.name = editor.uniqueName(u"Subreport");
    editor.insertObject(std::move(o));
  }

  // Report > Subreport Links: of the subreport open, else the one selected.
  void editSubreportLinks() {
    std::optional<designer::ObjectRef> target = editor.openedSubreport();
    const engine::ReportDocument* main = editor.mainDocument();
    if (!main) return;
    if (!target && editor.selection().objects.size() == 1) target = editor.selection().objects.front();
    const auto& sections = main->definition.sections;
    if (!target || target->section >= sections.size() || target->index >= sections[target->section].objects.size() ||
        sections[target->section].objects[target->index].kind != model::ObjectKind::Subreport) {
      message(u"Please select a subreport first.", MB_ICONINFORMATION);
      return;
    }
    model::Subreport subreport = sections[target->section].objects[target->index].subreport;
    designer::FieldList mainList = designer::usedFields(*main);
    for (auto& t : mainList.tables)
      if (auto known = knownColumns.find(caseFoldKey(t.alias)); known != knownColumns.end()) t.columns = known->second;
    win::FieldCatalogue choices = catalogueOf(mainList, &main->definition);
    if (subreport.definition)
      for (const auto& t : subreport.definition->data.tables) {
        std::vector<Text> names;
        for (const auto& c : databaseColumnsOf(t.alias)) names.push_back(c.name);
        choices.otherTables.push_back({t.alias, std::move(names)});
      }
    choices.linkRefusal = [this](const model::FieldRef& a, const model::FieldRef& b) {
      return designer::linkRefusal(a, shapeOf(a), b, shapeOf(b));
    };
    if (chooseSubreport(owner(), subreport, choices, true))
      editor.setSubreportOptions(*target, subreport.links, subreport.onDemand, subreport.linkText);
  }

  // Report > Tables: the tables of the report open, ticked in the tree of
  // the database's tables; added ones linked by the rule for new reports,
  // removed ones taken away with the fields that show them, once agreed.
  void editTables() {
    const engine::ReportDocument* document = editor.document();
    engine::CatalogueCache* db = readDatabase();
    if (!document) return;
    if (!db) {
      message(databaseProblem);
      return;
    }
    std::vector<Text> names;
    try {
      names = db->tables();
    } catch (...) {
    }
    mervane::win::SelectTablesForm form;
    form.load();
    if (!form.hwnd()) return;
    form.setCaption(L"Tables");
    form.centreOver(owner());
    const Text dataSet = db->databaseName().empty() ? Text(u"Database") : db->databaseName();
    form.addDataSetNode(u"db", dataSet);
    const auto& tables = document->definition.data.tables;
    auto inReport = [&](const Text& name) {
      return std::find_if(tables.begin(), tables.end(),
                          [&](const model::Table& t) { return equalsNoCase(t.location, name); });
    };
    for (const Text& name : names) form.addTableNode(u"db", name);
    for (std::size_t i = 0; i < names.size(); ++i)
      if (inReport(names[i]) != tables.end()) form.setTicked(static_cast<int>(i) + 1, true);
    form.showModal();
    if (!form.okSelected()) return;
    const std::vector<ChooserNodeState> ticks = form.nodes();
    std::vector<Text> ticked;
    for (const auto& node : ticks)
      if (!node.hasChildren && node.checked) ticked.push_back(node.text);
    std::vector<Text> removed;
    for (const auto& t : tables)
      if (t.type == model::DatabaseType::SqlTable && std::find(names.begin(), names.end(), t.location) != names.end() &&
          std::none_of(ticked.begin(), ticked.end(), [&](const Text& n) { return equalsNoCase(n, t.location); }))
        removed.push_back(t.alias);
    designer::TableRemoval plan = designer::planTableRemoval(document->definition, removed);
    if (!plan.refusal.empty()) {
      message(plan.refusal);
      return;
    }
    if (!plan.question.empty() &&
        MessageBoxW(owner(), toWide(plan.question).c_str(), L"Tables", MB_YESNO | MB_ICONQUESTION) != IDYES)
      return;
    model::ReportDefinition after = document->definition;
    after.data = plan.data;
    for (const Text& name : ticked) {
      if (inReport(name) != tables.end()) continue;
      model::Table added = engine::catalogueTable(after, *db, databaseSource, name);
      std::vector<model::TableLink> links = engine::proposeLinks(after.data, added, *db);
      after.data.tables.push_back(added);
      after.data.links.insert(after.data.links.end(), links.begin(), links.end());
    }
    if (editor.changeTables(after.data, std::move(plan.objects))) showScope();
  }

  // --- menus and commands ---

  void updateMenus() {
    const bool editable = editor.editable();
    const bool objects = !editor.selection().objects.empty();
    const auto enable = [this](UINT id, bool on) {
      if (editMenu) EnableMenuItem(editMenu, id, MF_BYCOMMAND | (on ? MF_ENABLED : MF_GRAYED));
    };
    enable(kCommandUndo, editable && editor.canUndo());
    enable(kCommandRedo, editable && editor.canRedo());
    enable(kCommandCut, editable && objects);
    enable(kCommandCopy, objects);
    enable(kCommandPaste, editable);
    enable(kCommandDelete, editable && objects);
    enable(kCommandSelectAll, editor.document() != nullptr);
    if (viewMenu) {
      CheckMenuItem(viewMenu, kCommandShowGrid, MF_BYCOMMAND | (editor.options().showGrid ? MF_CHECKED : MF_UNCHECKED));
      CheckMenuItem(viewMenu, kCommandSnapToGrid,
                    MF_BYCOMMAND | (editor.options().snapToGrid ? MF_CHECKED : MF_UNCHECKED));
    }
    if (formatMenu) {
      for (const auto& [id, how] : kArrangements)
        EnableMenuItem(formatMenu, id, MF_BYCOMMAND | (editor.canArrange(how) ? MF_ENABLED : MF_GRAYED));
      const bool texts =
          objects && editor.document() && designer::selectionShowsText(*editor.document(), editor.selection());
      for (UINT id : {kCommandBold, kCommandItalic, kCommandUnderline, kCommandTextLeft, kCommandTextCentre,
                      kCommandTextRight, kCommandFontColour})
        EnableMenuItem(formatMenu, id, MF_BYCOMMAND | (editable && texts ? MF_ENABLED : MF_GRAYED));
      for (UINT id : {kCommandBringToFront, kCommandSendToBack})
        EnableMenuItem(formatMenu, id, MF_BYCOMMAND | (editable && objects ? MF_ENABLED : MF_GRAYED));
    }
    if (reportMenu) {
      const auto* report = editor.definition();
      EnableMenuItem(reportMenu, kCommandGroups,
                     MF_BYCOMMAND | (editable && report && !report->data.groups.empty() ? MF_ENABLED : MF_GRAYED));
      EnableMenuItem(reportMenu, kCommandSectionOptions, MF_BYCOMMAND | (editable ? MF_ENABLED : MF_GRAYED));
      EnableMenuItem(reportMenu, kCommandCloseSubreport, MF_BYCOMMAND | (shownTab > 0 ? MF_ENABLED : MF_GRAYED));
    }
    if (insertMenu)
      EnableMenuItem(insertMenu, kCommandInsertSubreport,
                     MF_BYCOMMAND | (editable && !editor.openedSubreport() ? MF_ENABLED : MF_GRAYED));
    DesignerToolbar::State bar;
    bar.editable = editable;
    bar.objects = objects;
    bar.texts = objects && editor.document() && designer::selectionShowsText(*editor.document(), editor.selection());
    bar.canUndo = editor.canUndo();
    bar.canRedo = editor.canRedo();
    if (objects && editor.document()) bar.properties = designer::describeSelection(*editor.document(), editor.selection());
    toolbar.show(bar);
    if (zoomMenu) {
      static const std::pair<UINT, int> zooms[] = {{kCommandZoom50, 50}, {kCommandZoom75, 75}, {kCommandZoom100, 100},
                                                   {kCommandZoom150, 150}, {kCommandZoom200, 200}};
      for (const auto& [id, percent] : zooms)
        CheckMenuItem(zoomMenu, id, MF_BYCOMMAND | (canvas.zoom() == percent ? MF_CHECKED : MF_UNCHECKED));
    }
  }

  void appendMenus(HMENU bar) {
    const auto menu = [](std::initializer_list<std::pair<UINT, const wchar_t*>> items) {
      HMENU popup = CreatePopupMenu();
      for (const auto& [id, text] : items)
        AppendMenuW(popup, id ? MF_STRING : MF_SEPARATOR, id, text);
      return popup;
    };
    HMENU file = menu({{kCommandSave, L"&Save\tCtrl+S"},
                       {kCommandSaveAs, L"Save &As...\tF12"},
                       {0, nullptr},
                       {kCommandPrint, L"&Print...\tCtrl+P"},
                       {kCommandExport, L"&Export..."},
                       {0, nullptr},
                       {kCommandClose, L"&Close"}});
    editMenu = menu({{kCommandUndo, L"&Undo\tCtrl+Z"},
                     {kCommandRedo, L"&Redo\tCtrl+Y"},
                     {0, nullptr},
                     {kCommandCut, L"Cu&t\tCtrl+X"},
                     {kCommandCopy, L"&Copy\tCtrl+C"},
                     {kCommandPaste, L"&Paste\tCtrl+V"},
                     {kCommandDelete, L"&Delete\tDel"},
                     {0, nullptr},
                     {kCommandSelectAll, L"Select &All\tCtrl+A"}});
    HMENU insert = insertMenu = menu({{kCommandInsertText, L"&Text"},
                         {kCommandInsertField, L"&Field..."},
                         {kCommandInsertSpecialField, L"&Special Field..."},
                         {kCommandInsertFormula, L"F&ormula..."},
                         {kCommandInsertSummary, L"S&ummary..."},
                         {kCommandInsertGroup, L"&Group..."},
                         {0, nullptr},
                         {kCommandInsertLine, L"&Line"},
                         {kCommandInsertBox, L"Bo&x"},
                         {0, nullptr},
                         {kCommandInsertSubreport, L"Su&breport..."}});
    HMENU report = reportMenu = menu({{kCommandReportTitle, L"&Title..."},
                                      {kCommandRecordFilter, L"Record &Filter..."},
                                      {kCommandSort, L"&Sort..."},
                                      {kCommandLinks, L"&Links..."},
                                      {kCommandPageSetup, L"&Page Setup..."},
                                      {kCommandGroups, L"&Groups..."},
                                      {kCommandSectionOptions, L"S&ection Options..."},
                                      {kCommandSectionConditions, L"Section C&onditions..."},
                                      {kCommandEditRunningTotal, L"Ru&nning Total..."},
                                      {kCommandParameters, L"Pa&rameters..."},
                                      {kCommandParameterValues, L"Parameter &Values..."},
                                      {0, nullptr},
                                      {kCommandTables, L"T&ables..."},
                                      {kCommandSubreportLinks, L"Su&breport Links..."},
                                      {kCommandCloseSubreport, L"&Close Subreport Tab\tCtrl+F4"}});
    formatMenu = menu({{kCommandBold, L"&Bold\tCtrl+B"},
                       {kCommandItalic, L"&Italic\tCtrl+I"},
                       {kCommandUnderline, L"&Underline\tCtrl+U"},
                       {kCommandTextLeft, L"Align Text &Left\tCtrl+L"},
                       {kCommandTextCentre, L"C&entre Text\tCtrl+E"},
                       {kCommandTextRight, L"Align Text &Right\tCtrl+R"},
                       {kCommandFontColour, L"&Font Colour..."},
                       {0, nullptr},
                       {kCommandAlignLeft, L"Align Left&s"},
                       {kCommandAlignRight, L"Align Ri&ghts"},
                       {kCommandAlignTop, L"Align To&ps"},
                       {kCommandAlignBottom, L"Align B&ottoms"},
                       {kCommandAlignCentres, L"Align Ce&ntres"},
                       {kCommandAlignMiddles, L"Align &Middles"},
                       {0, nullptr},
                       {kCommandSameWidth, L"Make Same &Width"},
                       {kCommandSameHeight, L"Make Same &Height"},
                       {kCommandSameSize, L"Make Same Si&ze"},
                       {0, nullptr},
                       {kCommandSpaceAcross, L"Space Evenly &Across"},
                       {kCommandSpaceDown, L"Space Evenly &Down"},
                       {0, nullptr},
                       {kCommandBringToFront, L"Bring &to Front"},
                       {kCommandSendToBack, L"Send to Bac&k"},
                       {0, nullptr},
                       {kCommandConditionalFormatting, L"&Conditional Formatting..."}});
    AppendMenuW(insert, MF_STRING, kCommandInsertRunningTotal, L"&Running Total...");
    AppendMenuW(insert, MF_STRING, kCommandInsertParameterField, L"P&arameter Field...");
    zoomMenu = menu({{kCommandZoom50, L"&50%"},
                     {kCommandZoom75, L"&75%"},
                     {kCommandZoom100, L"&100%"},
                     {kCommandZoom150, L"15&0%"},
                     {kCommandZoom200, L"&200%"}});
    viewMenu = menu({{kCommandShowGrid, L"&Grid"}, {kCommandSnapToGrid, L"&Snap to Grid"}});
    AppendMenuW(viewMenu, MF_POPUP, reinterpret_cast<UINT_PTR>(zoomMenu), L"&Zoom");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&File");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(editMenu), L"&Edit");
    AppendMenuW(insert, MF_STRING, kCommandInsertPicture, L"&Picture...");
    AppendMenuW(insert, MF_STRING, kCommandInsertPictureField, L"Picture from Fi&eld...");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(insert), L"&Insert");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(formatMenu), L"F&ormat");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(report), L"&Report");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(viewMenu), L"&View");
    updateMenus();
  }

  void makeAccelerators() {
    ACCEL file[] = {{FVIRTKEY | FCONTROL, 'S', static_cast<WORD>(kCommandSave)},
                    {FVIRTKEY, VK_F12, static_cast<WORD>(kCommandSaveAs)},
                    {FVIRTKEY | FCONTROL, 'P', static_cast<WORD>(kCommandPrint)}};
    ACCEL all[] = {file[0],
                   file[1],
                   file[2],
                   {FVIRTKEY | FCONTROL, 'Z', static_cast<WORD>(kCommandUndo)},
                   {FVIRTKEY | FCONTROL, 'Y', static_cast<WORD>(kCommandRedo)},
                   {FVIRTKEY | FCONTROL | FSHIFT, 'Z', static_cast<WORD>(kCommandRedo)},
                   {FVIRTKEY | FCONTROL, 'X', static_cast<WORD>(kCommandCut)},
                   {FVIRTKEY | FCONTROL, 'C', static_cast<WORD>(kCommandCopy)},
                   {FVIRTKEY | FCONTROL, 'V', static_cast<WORD>(kCommandPaste)},
                   {FVIRTKEY, VK_DELETE, static_cast<WORD>(kCommandDelete)},
                   {FVIRTKEY | FCONTROL, 'A', static_cast<WORD>(kCommandSelectAll)},
                   {FVIRTKEY | FCONTROL, 'B', static_cast<WORD>(kCommandBold)},
                   {FVIRTKEY | FCONTROL, 'I', static_cast<WORD>(kCommandItalic)},
                   {FVIRTKEY | FCONTROL, 'U', static_cast<WORD>(kCommandUnderline)},
                   {FVIRTKEY | FCONTROL, 'L', static_cast<WORD>(kCommandTextLeft)},
                   {FVIRTKEY | FCONTROL, 'E', static_cast<WORD>(kCommandTextCentre)},
                   {FVIRTKEY | FCONTROL, 'R', static_cast<WORD>(kCommandTextRight)},
                   {FVIRTKEY | FCONTROL, VK_F4, static_cast<WORD>(kCommandCloseSubreport)}};
    fileAccelerators = CreateAcceleratorTableW(file, static_cast<int>(std::size(file)));
    accelerators = CreateAcceleratorTableW(all, static_cast<int>(std::size(all)));
  }

  HWND owner() const { return GetAncestor(hwnd, GA_ROOT); }

  win::FieldCatalogue catalogue() const { return catalogueOf(fields, editor.definition()); }

  static win::FieldCatalogue catalogueOf(const designer::FieldList& fields, const model::ReportDefinition* report) {
    win::FieldCatalogue c;
    for (const auto& t : fields.tables) {
      std::vector<Text> names;
      for (const auto& column : t.columns) names.push_back(column.name);
      c.tables.push_back({t.alias, std::move(names)});
    }
    c.formulas = fields.formulas;
    c.runningTotals = fields.runningTotals;
    c.parameters = fields.parameters;
    if (report)
      for (const auto& g : report->data.groups) c.groups.push_back(g.field);
    return c;
  }

  bool copy() {
    const auto bytes = editor.copySelection();
    if (bytes.empty()) return false;
    OpenClipboardScope clipboard(hwnd);
    if (!clipboard) return false;
    EmptyClipboard();
    putOnClipboard(clipboardFormat, bytes.data(), bytes.size());
    // The objects' texts too, for other programs.
    std::wstring text;
    for (const auto& r : editor.selection().objects)
      text += toWide(designer::designText(editor.definition()->sections[r.section].objects[r.index])) + L"\r\n";
    putOnClipboard(CF_UNICODETEXT, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    return true;
  }

  bool paste() {
    if (!IsClipboardFormatAvailable(clipboardFormat)) return false;
    std::vector<std::uint8_t> bytes;
    {
      OpenClipboardScope clipboard(hwnd);
      if (!clipboard) return false;
      HANDLE data = GetClipboardData(clipboardFormat);
      if (!data) return false;
      const auto* source = static_cast<const std::uint8_t*>(GlobalLock(data));
      if (!source) return false;
      bytes.assign(source, source + GlobalSize(data));
      GlobalUnlock(data);
    }
    // GlobalSize may round up: the definition's own header says how long it is.
    if (bytes.size() >= 12) {
      const std::size_t body = bytes[8] | bytes[9] << 8 | bytes[10] << 16 | static_cast<std::size_t>(bytes[11]) << 24;
      if (body + 16 <= bytes.size()) bytes.resize(body + 16);
    }
    // The designer designs one level: a subreport pasted into a subreport is refused.
    if (editor.openedSubreport()) {
      const auto read = model::readDefinition(bytes);
      const bool nested = read.definition && std::any_of(read.definition->sections.begin(), read.definition->sections.end(),
                                                         [](const model::Section& s) {
                                                           return std::any_of(s.objects.begin(), s.objects.end(), [](const auto& o) {
                                                             return o.kind == model::ObjectKind::Subreport;
                                                           });
                                                         });
      if (nested) {
        message(u"A subreport cannot hold subreports of its own. Paste subreports on the Main Report tab.",
                MB_ICONINFORMATION);
        return false;
      }
    }
    return editor.paste(bytes);
  }

  // The selected objects' conditional formatting, edited as the first one's
  // and given to all of them in one step.
  void objectConditions(HWND dialogOwner) {
    const auto& refs = editor.selection().objects;
    const auto& sections = editor.definition()->sections;
    const model::ReportObject& first = sections[refs.front().section].objects[refs.front().index];
    std::vector<ConditionRow> rows;
    for (const auto& row : designer::objectConditionRows()) rows.push_back({row.label, row.hint, first.conditions.*row.member});
    const Text caption = u"Conditional Formatting: " + (refs.size() == 1 ? first.name : decimal(static_cast<std::int64_t>(refs.size())) + u" objects");
    if (!editConditions(dialogOwner, caption, rows, catalogue())) return;
    std::vector<designer::ObjectChange> changes;
    for (const auto& ref : refs) {
      const model::ReportObject& before = sections[ref.section].objects[ref.index];
      model::ReportObject after = before;
      for (std::size_t i = 0; i < rows.size(); ++i) after.conditions.*designer::objectConditionRows()[i].member = rows[i].formula;
      if (!(after == before)) changes.push_back({ref, before, std::move(after)});
    }
    if (!changes.empty()) editor.execute(designer::changeObjects(std::move(changes)));
  }

  void sectionConditions(HWND dialogOwner) {
    const std::size_t index = editor.currentSection();
    const auto& sections = editor.definition()->sections;
    if (index >= sections.size()) return;
    const model::Section& before = sections[index];
    std::vector<ConditionRow> rows;
    for (const auto& row : designer::sectionConditionRows()) rows.push_back({row.label, u"true or false", before.conditions.*row.member});
    const Text caption = u"Section Conditions: " + (before.name.empty() ? u"section " + decimal(static_cast<std::int64_t>(index + 1)) : before.name);
    if (!editConditions(dialogOwner, caption, rows, catalogue())) return;
    model::Section after = before;
    for (std::size_t i = 0; i < rows.size(); ++i) after.conditions.*designer::sectionConditionRows()[i].member = rows[i].formula;
    if (!(after.conditions == before.conditions)) editor.execute(designer::changeSection(index, before, after));
  }

  // The running total the selected field shows, changed in one step with
  // the fields that show it when it is renamed.
  void editRunningTotalShown(HWND dialogOwner, designer::ReportParts parts) {
    const auto& refs = editor.selection().objects;
    const auto& sections = editor.definition()->sections;
    if (refs.size() != 1) return;
    const model::ReportObject& shown = sections[refs[0].section].objects[refs[0].index];
    auto found = std::find_if(parts.runningTotals.begin(), parts.runningTotals.end(),
                              [&](const model::RunningTotal& t) { return equalsNoCase(t.name, shown.formula); });
    if (shown.kind != model::ObjectKind::RunningTotalField || found == parts.runningTotals.end()) return;
    const Text oldName = found->name;
    const auto problem = [&](const model::RunningTotal& t, designer::RunningTotalPart& part) {
      return designer::runningTotalProblem(*editor.definition(), fields, t, oldName, &part);
    };
    const designer::ReportParts before = parts;
    if (!editRunningTotal(dialogOwner, *found, catalogue(), problem)) return;
    // A new name reaches the fields that show it and the formulas that read it.
    const Text newName = found->name;
    const auto rename = [&](Text& text) { return newName != oldName && designer::renameRunningTotalIn(text, oldName, newName); };
    for (model::Formula& f : parts.formulas) rename(f.text);
    std::vector<std::unique_ptr<designer::Command>> steps;
    steps.push_back(designer::changeReport(before, parts));
    std::vector<designer::ObjectChange> renamed;
    for (std::size_t s = 0; s < sections.size() && newName != oldName; ++s) {
      model::Section section = sections[s];
      bool changed = false;
      for (const auto& row : designer::sectionConditionRows()) changed = rename(section.conditions.*row.member) || changed;
      if (changed) steps.push_back(designer::changeSection(s, sections[s], section));
      for (std::size_t i = 0; i < sections[s].objects.size(); ++i) {
        const model::ReportObject& o = sections[s].objects[i];
        model::ReportObject after = o;
        if (o.kind == model::ObjectKind::RunningTotalField && equalsNoCase(o.formula, oldName)) after.formula = newName;
        for (const auto& row : designer::objectConditionRows()) rename(after.conditions.*row.member);
        if (!(after == o)) renamed.push_back({{s, i}, o, std::move(after)});
      }
    }
    if (!renamed.empty()) steps.push_back(designer::changeObjects(std::move(renamed)));
    if (!(before == parts)) editor.execute(designer::compose(std::move(steps)));
  }

  static Text uniqueTotalName(const designer::ReportParts& parts) {
    for (int n = 1;; ++n) {
      const Text name = u"RunningTotal" + decimal(n);
      if (std::none_of(parts.runningTotals.begin(), parts.runningTotals.end(),
                       [&](const model::RunningTotal& t) { return equalsNoCase(t.name, name); }))
        return name;
    }
  }

  // The shared value of a property of the selection; empty when they differ.
  Text shared(const Text& key) const {
    if (!editor.document()) return {};
    for (const auto& p : designer::describeSelection(*editor.document(), editor.selection()))
      if (p.key == key) return p.value;
    return {};
  }

  // The section a section command means: the one picked, else the current.
  std::size_t pickedSection() const {
    const auto& s = editor.selection();
    return s.hasSection ? s.section : editor.currentSection();
  }

  // Bring to front / send to back: the selection moved to the end or the
  // start of each section's list (objects later in the list lie on top).
  void restack(bool front) {
    const auto* report = editor.definition();
    if (!report || editor.selection().objects.empty()) return;
    std::vector<designer::PlacedObject> gone, back;
    designer::Selection after;
    std::vector<std::size_t> count(report->sections.size());
    for (const auto& r : editor.selection().objects) gone.push_back({r, report->sections[r.section].objects[r.index]}), ++count[r.section];
    std::vector<std::size_t> next(report->sections.size());
    for (const auto& g : gone) {
      const std::size_t s = g.ref.section;
      const std::size_t index = front ? report->sections[s].objects.size() - count[s] + next[s]++ : next[s]++;
      back.push_back({{s, index}, g.object});
      after.add({s, index});
    }
    std::vector<std::unique_ptr<designer::Command>> steps;
    steps.push_back(designer::removeObjects(std::move(gone)));
    steps.push_back(designer::insertObjects(std::move(back)));
    editor.execute(designer::selecting(designer::compose(std::move(steps)), after, editor.selection()));
  }

  void editGroupsDialog() {
    const auto* report = editor.definition();
    if (!report || report->data.groups.empty()) return;
    std::vector<designer::GroupPlace> places;
    std::vector<bool> holding(report->data.groups.size() + 1);
    for (std::size_t i = 0; i < report->data.groups.size(); ++i) {
      const auto number = static_cast<std::int32_t>(i + 1);
      places.push_back({number, report->data.groups[i]});
      holding[i + 1] = designer::groupHoldsObjects(*report, number);
    }
    if (editGroups(owner(), places, holding, catalogue())) editor.changeGroups(places);
  }

  // The group of the picked section deleted (asking first when its
  // sections hold objects).
  void deleteGroup() {
    const auto* report = editor.definition();
    const std::size_t at = pickedSection();
    if (!report || at >= report->sections.size()) return;
    const model::Section& section = report->sections[at];
    if (section.kind != model::SectionKind::GroupHeader && section.kind != model::SectionKind::GroupFooter) return;
    if (designer::groupHoldsObjects(*report, section.group) &&
        MessageBoxW(owner(), L"The group's header or footer holds objects. Deleting the group deletes them too.\n\nDelete it anyway?",
                    L"Delete Group", MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) != IDYES)
      return;
    std::vector<designer::GroupPlace> places;
    for (std::size_t i = 0; i < report->data.groups.size(); ++i)
      if (static_cast<std::int32_t>(i + 1) != section.group) places.push_back({static_cast<std::int32_t>(i + 1), report->data.groups[i]});
    editor.changeGroups(places);
  }

  void contextMenu(LPARAM where) {
    const auto& selection = editor.selection();
    const unsigned kind = !selection.objects.empty() ? ContextEntry::Objects : selection.hasSection ? ContextEntry::Sections : 0;
    if (!kind) return;
    const auto* report = editor.definition();
    const bool grouped = report && selection.hasSection && selection.section < report->sections.size() &&
                         (report->sections[selection.section].kind == model::SectionKind::GroupHeader ||
                          report->sections[selection.section].kind == model::SectionKind::GroupFooter);
    HMENU popup = CreatePopupMenu();
    bool separator = true;  // none first, none twice
    for (const ContextEntry& e : contextEntries()) {
      if (!(e.where & kind)) continue;
      if (!e.id) {
        if (!separator) AppendMenuW(popup, MF_SEPARATOR, 0, nullptr);
        separator = true;
        continue;
      }
      if (e.id == kCommandDeleteGroup && !grouped) continue;
      if (e.id == kCommandEditText && !(selection.objects.size() == 1 && report &&
                                        report->sections[selection.objects[0].section].objects[selection.objects[0].index].kind ==
                                            model::ObjectKind::Text))
        continue;
      const bool enabled = editor.editable() || e.id == kCommandCopy || e.id == kCommandProperties;
      AppendMenuW(popup, MF_STRING | (enabled ? 0 : MF_GRAYED), e.id, e.text);
      separator = false;
    }
    POINT at{static_cast<short>(LOWORD(where)), static_cast<short>(HIWORD(where))};
    if (where == static_cast<LPARAM>(-1) || (at.x == -1 && at.y == -1)) {
      designer::Point corner;
      if (!selection.objects.empty()) {
        const auto& r = selection.objects.front();
        const auto box = editor.layout().objectBox(r.section, report->sections[r.section].objects[r.index]);
        corner = {box.x, box.bottom()};
      } else if (const auto* band = editor.layout().band(selection.section)) {
        corner = {0, band->bodyTop};
      }
      at = canvas.toClient(corner);
      ClientToScreen(canvas.hwnd(), &at);
    }
    const UINT chosen = TrackPopupMenu(popup, TPM_RETURNCMD | TPM_RIGHTBUTTON | TPM_NONOTIFY, at.x, at.y, 0, hwnd, nullptr);
    DestroyMenu(popup);
    if (chosen) onCommand(chosen);
  }

  // The commands this control adds for arranging, formatting, groups and sections.
  bool comfortCommand(UINT id) {
    for (const auto& [command, how] : kArrangements)
      if (id == command) return editor.arrange(how), true;
    const auto toggle = [this](const char16_t* key) { editor.setProperty(key, shared(key) == u"Yes" ? u"No" : u"Yes"); };
    switch (id) {
      case kCommandBold: toggle(u"bold"); return true;
      case kCommandItalic: toggle(u"italic"); return true;
      case kCommandUnderline: toggle(u"underline"); return true;
      case kCommandTextLeft: editor.setProperty(u"alignment", u"Left"); return true;
      case kCommandTextCentre: editor.setProperty(u"alignment", u"Centre"); return true;
      case kCommandTextRight: editor.setProperty(u"alignment", u"Right"); return true;
      case kCommandFontColour: {
        if (!editor.editable() || editor.selection().objects.empty()) return true;
        static COLORREF custom[16] = {};
        const auto& first = editor.selection().objects.front();
        const std::uint32_t rgb = editor.definition()->sections[first.section].objects[first.index].format.colour;
        CHOOSECOLORW choose{sizeof(choose)};
        choose.hwndOwner = owner();
        choose.rgbResult = RGB((rgb >> 16) & 0xFF, (rgb >> 8) & 0xFF, rgb & 0xFF);
        choose.lpCustColors = custom;
        choose.Flags = CC_RGBINIT | CC_FULLOPEN;
        if (ChooseColorW(&choose)) {
          wchar_t text[8];
          swprintf(text, 8, L"#%02X%02X%02X", GetRValue(choose.rgbResult), GetGValue(choose.rgbResult), GetBValue(choose.rgbResult));
          editor.setProperty(u"colour", mervane::win::fromWide(text));
        }
        return true;
      }
      case kCommandBringToFront: restack(true); return true;
      case kCommandSendToBack: restack(false); return true;
      case kCommandProperties: SetFocus(panel.list()); return true;
      case kCommandEditText:
        if (editor.selection().objects.size() == 1) canvas.editText(editor.selection().objects.front());
        return true;
      case kCommandSectionOptions: {
        const auto* report = editor.definition();
        const std::size_t at = pickedSection();
        if (!report || at >= report->sections.size() || !editor.editable()) return true;
        model::Section values = designer::withoutObjects(report->sections[at]);
        if (editSectionOptions(owner(), values)) editor.setSectionOptions(at, values);
        return true;
      }
      case kCommandGroups:
        if (editor.editable()) editGroupsDialog();
        return true;
      case kCommandDeleteGroup:
        if (editor.editable()) deleteGroup();
        return true;
      case kCommandZoomIn:
      case kCommandZoomOut: {
        static const int steps[] = {25, 50, 75, 100, 150, 200, 300, 400};
        const int now = canvas.zoom();
        int next = now;
        if (id == kCommandZoomIn) {
          for (int s : steps) if (s > now) { next = s; break; }
        } else {
          for (int s : steps) if (s < now) next = s;
        }
        canvas.setZoom(next);
        return true;
      }
      default: return false;
    }
  }

  bool onCommand(UINT id) {
    designer::ReportParts parts;
    if (editor.document()) parts = designer::reportParts(*editor.document());
    const bool editable = editor.editable();
    const HWND dialogOwner = owner();
    model::ReportObject o;
    switch (id) {
      case kCommandUndo: editor.undo(); break;
      case kCommandRedo: editor.redo(); break;
      case kCommandCut:
        if (copy()) editor.deleteSelection();
        break;
      case kCommandCopy: copy(); break;
      case kCommandPaste: paste(); break;
      case kCommandDelete: editor.deleteSelection(); break;
      case kCommandSelectAll: editor.selectAll(); break;
      case kCommandInsertText:
        o.kind = model::ObjectKind::Text;
        o.text = u"Text";
        o.name = editor.uniqueName(u"Text");
        editor.insertObject(std::move(o));
        break;
      case kCommandInsertLine:
        o.kind = model::ObjectKind::Line;
        o.width = 2880;
        o.height = 0;
        o.name = editor.uniqueName(u"Line");
        editor.insertObject(std::move(o));
        break;
      case kCommandInsertBox:
        o.kind = model::ObjectKind::Box;
        o.width = 2880;
        o.height = 720;
        o.format.border = model::BorderStyle::Single;
        o.name = editor.uniqueName(u"Box");
        editor.insertObject(std::move(o));
        break;
      case kCommandInsertField:
        if (editable && chooseField(dialogOwner, o.field, catalogue())) {
          o.kind = model::ObjectKind::DatabaseField;
          o.name = editor.uniqueName(o.field.column.empty() ? Text(u"Field") : o.field.column);
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandInsertSpecialField:
        if (editable && chooseSpecialField(dialogOwner, o.special)) {
          o.kind = model::ObjectKind::SpecialField;
          o.name = editor.uniqueName(u"Special");
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandInsertFormula: {
        Text name, text;
        if (!editable || !editFormula(dialogOwner, name, true, text, catalogue()) || isBlank(name)) break;
        name = trim(name);
        auto same = std::find_if(parts.formulas.begin(), parts.formulas.end(),
                                 [&](const model::Formula& f) { return equalsNoCase(f.name, name); });
        if (same != parts.formulas.end())
          same->text = text;
        else
          parts.formulas.push_back({name, text});
        o.kind = model::ObjectKind::FormulaField;
        o.formula = name;
        o.name = editor.uniqueName(name);
        editor.insertObject(std::move(o), parts);
        break;
      }
      case kCommandInsertSummary:
        if (editable && chooseSummary(dialogOwner, o.summary, o.field, o.summaryGroup, catalogue())) {
          o.kind = model::ObjectKind::SummaryField;
          o.name = editor.uniqueName(u"Summary");
          o.format.alignment = model::Alignment::Right;
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandInsertGroup: {
        model::Group group;
        if (editable && chooseGroup(dialogOwner, group, catalogue())) editor.addGroup(group);
        break;
      }
      case kCommandInsertSubreport:
        // The designer designs one level: a subreport's own subreports are not offered.
        if (editable && editor.openedSubreport())
          message(u"A subreport cannot hold subreports of its own. Insert subreports on the Main Report tab.",
                  MB_ICONINFORMATION);
        else if (editable)
          insertSubreport();
        break;
      case kCommandCloseSubreport:
        closeTab(shownTab);
        break;
      case kCommandSubreportLinks:
        if (editable) editSubreportLinks();
        break;
      case kCommandTables:
        if (editable) editTables();
        break;
      case kCommandConditionalFormatting:
        if (!editable) break;
        if (!editor.selection().objects.empty()) objectConditions(dialogOwner);
        else sectionConditions(dialogOwner);
        break;
      case kCommandSectionConditions:
        if (editable) sectionConditions(dialogOwner);
        break;
      case kCommandInsertRunningTotal: {
        model::RunningTotal total;
        total.name = uniqueTotalName(parts);
        const auto problem = [&](const model::RunningTotal& t, designer::RunningTotalPart& part) {
          return designer::runningTotalProblem(*editor.definition(), fields, t, {}, &part);
        };
        if (!editable || !editRunningTotal(dialogOwner, total, catalogue(), problem)) break;
        parts.runningTotals.push_back(total);
        o.kind = model::ObjectKind::RunningTotalField;
        o.formula = total.name;
        o.name = editor.uniqueName(total.name);
        o.format.alignment = model::Alignment::Right;
        editor.insertObject(std::move(o), parts);
        break;
      }
      case kCommandInsertPicture:
        if (editable && choosePicture(dialogOwner, o.picture)) {
          const auto header = engine::layout::readPictureHeader(o.picture.image.view());
          o.kind = model::ObjectKind::Picture;
          o.width = 1440;
          // An inch across, as high as the picture's shape makes it (within reason).
          o.height = static_cast<std::int32_t>(std::clamp<std::int64_t>(
              static_cast<std::int64_t>(o.width) * header.height / std::max(1, header.width), 240, 4320));
          o.name = editor.uniqueName(u"Picture");
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandInsertPictureField:
        if (editable && choosePictureField(dialogOwner, o.field, catalogue()) && !o.field.column.empty()) {
          o.kind = model::ObjectKind::Picture;
          o.height = 1440;
          o.name = editor.uniqueName(o.field.column);
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandEditRunningTotal:
        if (editable) editRunningTotalShown(dialogOwner, parts);
        break;
      case kCommandReportTitle:
        if (editable && editTitle(dialogOwner, parts.title)) editor.changeReportParts(parts);
        break;
      case kCommandRecordFilter:
        if (editable && editRecordFilter(dialogOwner, parts.data.recordFilter, catalogue()))
          editor.changeReportParts(parts);
        break;
      case kCommandSort:
        if (editable && editSortFields(dialogOwner, parts.data.sortFields, catalogue())) editor.changeReportParts(parts);
        break;
      case kCommandLinks:
        if (editable && editLinks(dialogOwner, parts.data.links, catalogue())) editor.changeReportParts(parts);
        break;
      case kCommandPageSetup:
        if (editable && editPageSetup(dialogOwner, parts.page)) editor.changeReportParts(parts);
        break;
      case kCommandParameters: {
        // Renamed parameters' uses follow them; deleted ones take their fields along (parameter_uses.h).
        if (!editable) break;
        const model::ReportDefinition& report = *editor.definition();
        designer::ParameterEdits edits;
        const auto usesOf = [&report](const Text& name) { return designer::parameterUses(report, name); };
        if (!editParameters(dialogOwner, parts.parameters, catalogue(), usesOf, &edits)) break;
        model::ReportDefinition after = designer::withParameters(report, parts.parameters, edits);
        if (!(after == report)) editor.execute(designer::changeDefinition(report, std::move(after)));
        break;
      }
      case kCommandInsertParameterField:
        if (editable && chooseParameter(dialogOwner, fields.parameters, o.text)) {
          o.kind = model::ObjectKind::ParameterField;
          o.name = editor.uniqueName(o.text);
          editor.insertObject(std::move(o));
        }
        break;
      case kCommandShowGrid: editor.options().showGrid = !editor.options().showGrid; break;
      case kCommandSnapToGrid: editor.options().snapToGrid = !editor.options().snapToGrid; break;
      case kCommandZoom50: canvas.setZoom(50); break;
      case kCommandZoom75: canvas.setZoom(75); break;
      case kCommandZoom100: canvas.setZoom(100); break;
      case kCommandZoom150: canvas.setZoom(150); break;
      case kCommandZoom200: canvas.setZoom(200); break;
      default:
        if (!comfortCommand(id)) return false;  // the File menu's and anything else are the host's
        break;
    }
    acted();
    return true;
  }
};

DesignerControl::DesignerControl() : impl_(std::make_unique<Impl>()) {
  // New fields are sized in the fonts as the report will print them.
  impl_->editor.setMeasure(std::make_shared<engine::win::GdiMeasure>());
  engine::win::useWindowsPictureDecoder();
}

DesignerControl::~DesignerControl() {
  if (impl_->hwnd && IsWindow(impl_->hwnd)) {
    SetWindowLongPtrW(impl_->hwnd, GWLP_USERDATA, 0);
    DestroyWindow(impl_->hwnd);
  }
}

HWND DesignerControl::create(HWND parent, int id) {
  static const bool registered = [] {
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES};
    InitCommonControlsEx(&controls);
    WNDCLASSEXW wc{};
    wc.lpfnWndProc = Impl::windowProc;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    wc.lpszClassName = kClassName;
    return mervane::win::registerWindowClass(wc);
  }();
  (void)registered;
  Impl& m = *impl_;
  m.hwnd = CreateWindowExW(WS_EX_CONTROLPARENT, kClassName, L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, 0, 0, 100,
                           100, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), mervane::win::thisModule(),
                           nullptr);
  m.tree = CreateWindowExW(WS_EX_CLIENTEDGE, WC_TREEVIEWW, L"",
                           WS_CHILD | WS_VISIBLE | WS_TABSTOP | TVS_HASBUTTONS | TVS_HASLINES | TVS_LINESATROOT |
                               TVS_SHOWSELALWAYS,
                           0, 0, 10, 10, m.hwnd, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kTreeId)), nullptr, nullptr);
  SetWindowSubclass(m.tree, Impl::treeProc, 1, reinterpret_cast<DWORD_PTR>(&m));
  m.tabs = CreateWindowExW(0, WC_TABCONTROLW, L"", WS_CHILD | WS_CLIPSIBLINGS | TCS_FOCUSNEVER, 0, 0, 10, 10, m.hwnd,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(kTabsId)), nullptr, nullptr);
  m.toolbar.create(m.hwnd, kToolbarId);
  m.canvas.create(m.hwnd, kCanvasId, m.editor, [&m] { m.acted(); });
  m.canvas.setOnOpen([&m](designer::ObjectRef object) {
    if (m.editor.openedSubreport()) return false;
    const auto* report = m.editor.definition();
    if (!report || object.section >= report->sections.size() ||
        object.index >= report->sections[object.section].objects.size() ||
        report->sections[object.section].objects[object.index].kind != model::ObjectKind::Subreport)
      return false;
    return m.openSubreport(object);
  });
  m.panel.create(m.hwnd, kListId, [&m](const Text& key, const Text& value) {
    const bool taken = m.editor.setProperty(key, value);
    m.shownRevision = ~0ull;  // the panel shows the values as they now are
    m.acted();
    return taken;
  });
  HFONT font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  SendMessageW(m.tree, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  SendMessageW(m.tabs, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  SendMessageW(m.panel.list(), WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  m.makeAccelerators();
  SetWindowLongPtrW(m.hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&m));
  m.arrange();
  m.acted();
  return m.hwnd;
}

HWND DesignerControl::hwnd() const { return impl_->hwnd; }

void DesignerControl::setDocument(engine::ReportDocument* document, std::function<void()> changed) {
  try {
    impl_->setDocument(document, std::move(changed));
  } catch (...) {
    impl_->editor.setDocument(nullptr);
  }
}

void DesignerControl::setDisplayOption(int number, bool value) {
  designer::applyDisplayOption(impl_->editor.options(), number, value);
  setShowFieldList(impl_->editor.options().showFieldList);
}

void DesignerControl::setShowGrid(bool show) {
  impl_->editor.options().showGrid = show;
  impl_->acted();
}

void DesignerControl::setSnapToGrid(bool snap) {
  impl_->editor.options().snapToGrid = snap;
  impl_->acted();
}

void DesignerControl::setShowFieldList(bool show) {
  impl_->editor.options().showFieldList = show;
  impl_->showFieldList = show;
  if (impl_->hwnd) impl_->arrange();
  impl_->acted();
}

void DesignerControl::setReadOnly(bool readOnly) {
  impl_->editor.options().readOnly = readOnly;
  impl_->acted();
}

void DesignerControl::setZoom(int percent) {
  impl_->canvas.setZoom(percent);
  impl_->acted();
}

void DesignerControl::setColumnSource(std::shared_ptr<designer::ColumnSource> source) {
  impl_->columnSource = std::move(source);
  impl_->defaultSource = false;
}

void DesignerControl::appendMenus(HMENU menuBar) {
  try {
    impl_->appendMenus(menuBar);
  } catch (...) {
  }
}

bool DesignerControl::onCommand(UINT id) {
  try {
    return impl_->onCommand(id);
  } catch (...) {
    return id >= kCommandUndo && id <= kCommandCloseSubreport;  // every command of the designer's own
  }
}

bool DesignerControl::translateAccelerator(MSG& message) {
  const Impl& m = *impl_;
  if (!m.hwnd || !IsWindowVisible(m.hwnd) || (message.message != WM_KEYDOWN && message.message != WM_SYSKEYDOWN))
    return false;
  const HWND root = GetAncestor(m.hwnd, GA_ROOT);
  if (message.hwnd != root && !IsChild(root, message.hwnd)) return false;
  // In a box being typed into, the editing keys belong to the box.
  HACCEL table = isEditBox(message.hwnd) ? m.fileAccelerators : m.accelerators;
  return table && TranslateAcceleratorW(root, table, &message) != 0;
}

designer::Editor& DesignerControl::editor() { return impl_->editor; }
HWND DesignerControl::canvas() const { return impl_->canvas.hwnd(); }
HWND DesignerControl::fieldTree() const { return impl_->tree; }
PropertyPanel& DesignerControl::properties() { return impl_->panel; }
POINT DesignerControl::canvasPoint(designer::Point surface) const { return impl_->canvas.toClient(surface); }
bool DesignerControl::readingColumns() const { return impl_->job != nullptr; }
HWND DesignerControl::reportTabs() const { return impl_->tabs; }

bool DesignerControl::openSubreport(designer::ObjectRef object) {
  try {
    return impl_->openSubreport(object);
  } catch (...) {
    return false;
  }
}

void* DesignerControl::fieldItem(const Text& table, const Text& column) const {
  const Impl& m = *impl_;
  for (std::size_t i = 0; i < m.entries.size(); ++i) {
    const auto& e = m.entries[i];
    const bool match =
        (e.kind == Impl::FieldEntry::Column && e.field.table == table && e.field.column == column) ||
        (e.kind == Impl::FieldEntry::Formula && table == u"@" && e.formula == column) ||
        (e.kind == Impl::FieldEntry::Parameter && table == u"?" && e.formula == column) ||
        (e.kind == Impl::FieldEntry::Special && table.empty() && m.fields.specials.size() > 0 &&
         std::any_of(m.fields.specials.begin(), m.fields.specials.end(),
                     [&](const auto& s) { return s.kind == e.special && s.name == column; }));
    if (match) return m.entryItems[i];
  }
  return nullptr;
}

}  // namespace mervane::authoring::win
