// The designer control: its child windows, field list, menus, keys,
// clipboard and dialogs. The rules are the editor's; this is the plumbing.
#include "authoring/designer/win/designer_control.h"

#include <commctrl.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <thread>

#include "authoring/designer/properties.h"
#include "authoring/designer/win/design_canvas.h"
#include "authoring/designer/win/designer_dialogs.h"
#include "authoring/designer/win/property_panel.h"
#include "base/win/com.h"
#include "base/win/form.h"
#include "engine/win/gdi_measure.h"

namespace mervane::authoring::win {

using designer::Point;
using mervane::win::toWide;
namespace model = engine::model;

namespace {

constexpr wchar_t kClassName[] = L"MervaneDesigner";
constexpr UINT kColumnsRead = WM_APP + 0x41;  // the field list's columns are in
constexpr int kTreeId = 1, kCanvasId = 2, kListId = 3;
constexpr int kTreeWidth = 190, kPanelWidth = 250;  // pixels

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

}  // namespace

struct DesignerControl::Impl {
  struct FieldEntry {
    enum Kind { Column, Special, Formula, Parameter } kind = Column;
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
  HWND tree = nullptr;
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
  HMENU editMenu = nullptr, viewMenu = nullptr, zoomMenu = nullptr;
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
        if (panel.onNotify(header)) return 0;
        break;
      }
      case WM_SETFOCUS: SetFocus(canvas.hwnd()); return 0;
      case kColumnsRead:
        if (wParam == generation) takeColumns();
        return 0;
    }
    return DefWindowProcW(hwnd, message, wParam, lParam);
  }

  void arrange() {
    RECT client;
    GetClientRect(hwnd, &client);
    const int treeWidth = showFieldList ? std::min<int>(kTreeWidth, client.right / 4) : 0;
    const int panelWidth = std::min<int>(kPanelWidth, client.right / 3);
    MoveWindow(tree, 0, 0, treeWidth, client.bottom, TRUE);
    ShowWindow(tree, showFieldList ? SW_SHOW : SW_HIDE);
    MoveWindow(canvas.hwnd(), treeWidth, 0, std::max<int>(client.right - treeWidth - panelWidth, 0), client.bottom, TRUE);
    MoveWindow(panel.list(), client.right - panelWidth, 0, panelWidth, client.bottom, TRUE);
    ListView_SetColumnWidth(panel.list(), 0, panelWidth * 11 / 20);
    ListView_SetColumnWidth(panel.list(), 1, LVSCW_AUTOSIZE_USEHEADER);
  }

  // After anything the person did: the panel, the surface, the menus and
  // the field list catch up.
  void acted() {
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
    for (const auto& p : report->parameters) s += p.name + u'\n';
    return s;
  }

  void setDocument(engine::ReportDocument* document, std::function<void()> changed) {
    editor.setDocument(document, std::move(changed));
    dragging = nullptr;
    shownRevision = ~0ull;
    fillFieldList(document ? designer::usedFields(*document) : designer::FieldList{}, true);
    acted();
  }

  void fillFieldList(designer::FieldList list, bool readColumns) {
    // Columns read from the database stay while the tables are the same.
    if (!readColumns)
      for (auto& t : list.tables)
        for (const auto& known : fields.tables)
          if (known.fromDatabase && equalsNoCase(known.alias, t.alias)) t = known;
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
    HMENU insert = menu({{kCommandInsertText, L"&Text"},
                         {kCommandInsertField, L"&Field..."},
                         {kCommandInsertSpecialField, L"&Special Field..."},
                         {kCommandInsertFormula, L"F&ormula..."},
                         {kCommandInsertSummary, L"S&ummary..."},
                         {kCommandInsertGroup, L"&Group..."},
                         {0, nullptr},
                         {kCommandInsertLine, L"&Line"},
                         {kCommandInsertBox, L"&Box"},
                         {0, nullptr},
                         {kCommandInsertSubreport, L"Su&breport..."}});
    HMENU report = menu({{kCommandReportTitle, L"&Title..."},
                         {kCommandRecordFilter, L"Record &Filter..."},
                         {kCommandSort, L"&Sort..."},
                         {kCommandLinks, L"&Links..."},
                         {kCommandPageSetup, L"&Page Setup..."}});
    AppendMenuW(insert, MF_STRING, kCommandInsertParameterField, L"P&arameter Field...");
    AppendMenuW(report, MF_STRING, kCommandParameters, L"Pa&rameters...");
    AppendMenuW(report, MF_STRING, kCommandParameterValues, L"Parameter &Values...");
    zoomMenu = menu({{kCommandZoom50, L"&50%"},
                     {kCommandZoom75, L"&75%"},
                     {kCommandZoom100, L"&100%"},
                     {kCommandZoom150, L"15&0%"},
                     {kCommandZoom200, L"&200%"}});
    viewMenu = menu({{kCommandShowGrid, L"&Grid"}, {kCommandSnapToGrid, L"&Snap to Grid"}});
    AppendMenuW(viewMenu, MF_POPUP, reinterpret_cast<UINT_PTR>(zoomMenu), L"&Zoom");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(file), L"&File");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(editMenu), L"&Edit");
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(insert), L"&Insert");
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
                   {FVIRTKEY | FCONTROL, 'A', static_cast<WORD>(kCommandSelectAll)}};
    fileAccelerators = CreateAcceleratorTableW(file, static_cast<int>(std::size(file)));
    accelerators = CreateAcceleratorTableW(all, static_cast<int>(std::size(all)));
  }

  HWND owner() const { return GetAncestor(hwnd, GA_ROOT); }

  win::FieldCatalogue catalogue() const {
    win::FieldCatalogue c;
    for (const auto& t : fields.tables) {
      std::vector<Text> names;
      for (const auto& column : t.columns) names.push_back(column.name);
      c.tables.push_back({t.alias, std::move(names)});
    }
    c.formulas = fields.formulas;
    c.parameters = fields.parameters;
    if (const auto* report = editor.definition())
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
    return editor.paste(bytes);
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
        if (editable && chooseSubreport(dialogOwner, o.subreport, catalogue())) {
          o.kind = model::ObjectKind::Subreport;
          if (!o.subreport.definition) o.subreport.definition.emplace() = model::blankReport();
          o.width = 2880;
          o.height = 720;
          o.name = editor.uniqueName(u"Subreport");
          editor.insertObject(std::move(o));
        }
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
      case kCommandParameters:
        if (editable && editParameters(dialogOwner, parts.parameters, catalogue())) editor.changeReportParts(parts);
        break;
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
      default: return false;  // the File menu's and anything else are the host's
    }
    acted();
    return true;
  }
};

DesignerControl::DesignerControl() : impl_(std::make_unique<Impl>()) {
  // New fields are sized in the fonts as the report will print them.
  impl_->editor.setMeasure(std::make_shared<engine::win::GdiMeasure>());
}

DesignerControl::~DesignerControl() {
  if (impl_->hwnd && IsWindow(impl_->hwnd)) {
    SetWindowLongPtrW(impl_->hwnd, GWLP_USERDATA, 0);
    DestroyWindow(impl_->hwnd);
  }
}

HWND DesignerControl::create(HWND parent, int id) {
  static const bool registered = [] {
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES};
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
  m.canvas.create(m.hwnd, kCanvasId, m.editor, [&m] { m.acted(); });
  m.panel.create(m.hwnd, kListId, [&m](const Text& key, const Text& value) {
    const bool taken = m.editor.setProperty(key, value);
    m.shownRevision = ~0ull;  // the panel shows the values as they now are
    m.acted();
    return taken;
  });
  HFONT font = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  SendMessageW(m.tree, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
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
    return id >= kCommandUndo && id <= kCommandZoom200;
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
