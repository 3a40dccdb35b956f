// The designer's toolbar: its buttons drawn once into an image list, the
// font boxes, and the buttons' states from the selection's properties.
#include "authoring/designer/win/designer_toolbar.h"

#include <commctrl.h>

#include <algorithm>
#include <set>

#include "authoring/designer/win/designer_control.h"
#include "base/win/wide.h"

namespace mervane::authoring::win {

using mervane::win::fromWide;
using mervane::win::toWide;

namespace {

constexpr int kIcon = 16;
constexpr COLORREF kMask = RGB(255, 0, 255);
constexpr int kFontBoxWidth = 150, kSizeBoxWidth = 48;

enum Glyph { GBold, GItalic, GUnderline, GLeft, GCentre, GRight, GColour, GText, GField, GLine, GBox, GPicture, GUndo, GRedo,
             GZoomIn, GZoomOut, kGlyphs };

void drawLetter(HDC dc, const wchar_t* letter, int weight, bool italic, bool underline) {
  HFONT font = CreateFontW(-13, 0, 0, 0, weight, italic, underline, FALSE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                           CLIP_DEFAULT_PRECIS, NONANTIALIASED_QUALITY, DEFAULT_PITCH, L"Arial");
  HGDIOBJ old = SelectObject(dc, font);
  RECT r{0, 0, kIcon, kIcon - 1};
  DrawTextW(dc, letter, -1, &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
  SelectObject(dc, old);
  DeleteObject(font);
}

void drawArrow(HDC dc, bool back) {
  // A hooked arrow: an arc with a head at its start.
  const int x0 = back ? 3 : 12;
  Arc(dc, 3, 4, 14, 14, back ? 13 : 4, 9, back ? 4 : 13, 9);
  const POINT head[] = {{x0, 9}, {x0 + (back ? -2 : 2), 5}, {x0 + (back ? 3 : -3), 6}};
  Polygon(dc, head, 3);
}

// One glyph, dark on the mask colour, in the toolbar's 16 x 16 cell.
void drawGlyph(HDC dc, Glyph g) {
  RECT all{0, 0, kIcon, kIcon};
  HBRUSH mask = CreateSolidBrush(kMask);
  FillRect(dc, &all, mask);
  DeleteObject(mask);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, RGB(0, 0, 0));
  HPEN pen = CreatePen(PS_SOLID, 1, RGB(0, 0, 0));
  HBRUSH dark = CreateSolidBrush(RGB(0, 0, 0));
  HGDIOBJ oldPen = SelectObject(dc, pen), oldBrush = SelectObject(dc, GetStockObject(NULL_BRUSH));
  const auto line = [dc](int x1, int y1, int x2, int y2) {
    MoveToEx(dc, x1, y1, nullptr);
    LineTo(dc, x2, y2);
  };
  switch (g) {
    case GBold: drawLetter(dc, L"B", FW_BOLD, false, false); break;
    case GItalic: drawLetter(dc, L"I", FW_NORMAL, true, false); break;
    case GUnderline: drawLetter(dc, L"U", FW_NORMAL, false, true); break;
    case GLeft:
    case GCentre:
    case GRight:
      for (int row = 0; row < 5; ++row) {
        const int width = row % 2 ? 8 : 12;
        const int x = g == GLeft ? 2 : g == GRight ? 14 - width : 8 - width / 2;
        line(x, 3 + row * 2 + row / 2 * 0, x + width, 3 + row * 2);
      }
      break;
    case GColour: {
      drawLetter(dc, L"A", FW_BOLD, false, false);
      RECT bar{1, 12, 15, 15};
      HBRUSH red = CreateSolidBrush(RGB(220, 0, 0));
      FillRect(dc, &bar, red);
      DeleteObject(red);
      break;
    }
    case GText: drawLetter(dc, L"ab", FW_NORMAL, false, false); break;
    case GField: {
      Rectangle(dc, 1, 3, 15, 13);
      HFONT font = CreateFontW(-9, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, NONANTIALIASED_QUALITY, 0, L"Tahoma");
      HGDIOBJ old = SelectObject(dc, font);
      RECT r{1, 3, 15, 13};
      DrawTextW(dc, L"{ }", -1, &r, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
      SelectObject(dc, old);
      DeleteObject(font);
      break;
    }
    case GLine: line(2, 13, 14, 3); line(2, 14, 15, 3); break;
    case GBox: Rectangle(dc, 2, 3, 14, 13); break;
    case GPicture: {
      Rectangle(dc, 1, 2, 15, 14);
      SelectObject(dc, dark);
      const POINT hill[] = {{2, 13}, {7, 7}, {10, 10}, {12, 8}, {14, 13}};
      Polygon(dc, hill, 5);
      Ellipse(dc, 10, 3, 13, 6);
      break;
    }
    case GUndo:
    case GRedo:
      SelectObject(dc, dark);
      drawArrow(dc, g == GUndo);
      break;
    case GZoomIn:
    case GZoomOut:
      Ellipse(dc, 1, 1, 11, 11);
      line(9, 9, 14, 14);
      line(10, 9, 15, 14);
      line(3, 6, 9, 6);
      if (g == GZoomIn) line(6, 3, 6, 9);
      break;
    default: break;
  }
  SelectObject(dc, oldPen);
  SelectObject(dc, oldBrush);
  DeleteObject(pen);
  DeleteObject(dark);
}

HIMAGELIST makeImages() {
  HIMAGELIST list = ImageList_Create(kIcon, kIcon, ILC_COLOR24 | ILC_MASK, kGlyphs, 0);
  HDC screen = GetDC(nullptr);
  HDC dc = CreateCompatibleDC(screen);
  for (int g = 0; g < kGlyphs; ++g) {
    HBITMAP bitmap = CreateCompatibleBitmap(screen, kIcon, kIcon);
    HGDIOBJ old = SelectObject(dc, bitmap);
    drawGlyph(dc, static_cast<Glyph>(g));
    SelectObject(dc, old);
    ImageList_AddMasked(list, bitmap, kMask);
    DeleteObject(bitmap);
  }
  DeleteDC(dc);
  ReleaseDC(nullptr, screen);
  return list;
}

struct Button {
  int glyph;  // -1: a separator (its width in `width`)
  UINT id;
  BYTE style;
  const wchar_t* tip;
  int width = 0;
};

const Button kButtons[] = {
    {-1, kCommandFontName, BTNS_SEP, nullptr, kFontBoxWidth},
    {-1, 0, BTNS_SEP, nullptr, 4},
    {-1, kCommandFontSize, BTNS_SEP, nullptr, kSizeBoxWidth},
    {-1, 0, BTNS_SEP, nullptr, 8},
    {GBold, kCommandBold, BTNS_CHECK, L"Bold (Ctrl+B)"},
    {GItalic, kCommandItalic, BTNS_CHECK, L"Italic (Ctrl+I)"},
    {GUnderline, kCommandUnderline, BTNS_CHECK, L"Underline (Ctrl+U)"},
    {-1, 0, BTNS_SEP, nullptr, 8},
    {GLeft, kCommandTextLeft, BTNS_CHECK, L"Align Text Left (Ctrl+L)"},
    {GCentre, kCommandTextCentre, BTNS_CHECK, L"Centre Text (Ctrl+E)"},
    {GRight, kCommandTextRight, BTNS_CHECK, L"Align Text Right (Ctrl+R)"},
    {GColour, kCommandFontColour, BTNS_BUTTON, L"Font Colour"},
    {-1, 0, BTNS_SEP, nullptr, 8},
    {GText, kCommandInsertText, BTNS_BUTTON, L"Insert Text"},
    {GField, kCommandInsertField, BTNS_BUTTON, L"Insert Field"},
    {GLine, kCommandInsertLine, BTNS_BUTTON, L"Insert Line"},
    {GBox, kCommandInsertBox, BTNS_BUTTON, L"Insert Box"},
    {GPicture, kCommandInsertPicture, BTNS_BUTTON, L"Insert Picture"},
    {-1, 0, BTNS_SEP, nullptr, 8},
    {GUndo, kCommandUndo, BTNS_BUTTON, L"Undo (Ctrl+Z)"},
    {GRedo, kCommandRedo, BTNS_BUTTON, L"Redo (Ctrl+Y)"},
    {-1, 0, BTNS_SEP, nullptr, 8},
    {GZoomIn, kCommandZoomIn, BTNS_BUTTON, L"Zoom In"},
    {GZoomOut, kCommandZoomOut, BTNS_BUTTON, L"Zoom Out"},
};

int CALLBACK addFontName(const LOGFONTW* font, const TEXTMETRICW*, DWORD type, LPARAM names) {
  if (font->lfFaceName[0] != L'@' && (type & TRUETYPE_FONTTYPE))
    reinterpret_cast<std::set<std::wstring>*>(names)->insert(font->lfFaceName);
  return 1;
}

const designer::Property* find(const std::vector<designer::Property>& properties, const wchar_t* key) {
  const Text wanted = fromWide(key);
  for (const auto& p : properties)
    if (p.key == wanted) return &p;
  return nullptr;
}

}  // namespace

DesignerToolbar::~DesignerToolbar() {
  if (images_) ImageList_Destroy(images_);
}

HWND DesignerToolbar::create(HWND parent, int id) {
  INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES};
  InitCommonControlsEx(&controls);
  toolbar_ = CreateWindowExW(0, TOOLBARCLASSNAMEW, L"",
                             WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS | CCS_NORESIZE |
                                 CCS_NODIVIDER | CCS_NOPARENTALIGN,
                             0, 0, 100, 28, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  SendMessageW(toolbar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  images_ = makeImages();
  SendMessageW(toolbar_, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(images_));
  std::vector<TBBUTTON> buttons;
  for (const Button& b : kButtons) {
    TBBUTTON t{};
    t.iBitmap = b.glyph >= 0 ? b.glyph : b.width;
    t.idCommand = static_cast<int>(b.id);
    t.fsState = TBSTATE_ENABLED;
    t.fsStyle = b.style;
    t.iString = b.tip ? reinterpret_cast<INT_PTR>(b.tip) : -1;
    buttons.push_back(t);
  }
  // Button texts serve as tooltips only.
  SendMessageW(toolbar_, TB_SETMAXTEXTROWS, 0, 0);
  SendMessageW(toolbar_, TB_ADDBUTTONSW, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
  SendMessageW(toolbar_, TB_AUTOSIZE, 0, 0);

  HFONT ui = static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT));
  const auto box = [&](UINT command, int width, DWORD style) {
    RECT r{};
    SendMessageW(toolbar_, TB_GETRECT, command, reinterpret_cast<LPARAM>(&r));
    HWND combo = CreateWindowExW(0, WC_COMBOBOXW, L"", WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_TABSTOP | style, r.left,
                                 r.top + 1, width, 300, toolbar_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(command)),
                                 nullptr, nullptr);
    SendMessageW(combo, WM_SETFONT, reinterpret_cast<WPARAM>(ui), FALSE);
    return combo;
  };
  font_ = box(kCommandFontName, kFontBoxWidth, CBS_DROPDOWN | CBS_SORT | CBS_AUTOHSCROLL);
  size_ = box(kCommandFontSize, kSizeBoxWidth, CBS_DROPDOWN | CBS_AUTOHSCROLL);
  // The boxes have tooltips as the buttons do, from the toolbar's own tooltip
  // window (told of each box's edit too, which is what the mouse is over).
  if (HWND tips = reinterpret_cast<HWND>(SendMessageW(toolbar_, TB_GETTOOLTIPS, 0, 0))) {
    for (const auto& [combo, tip] : {std::pair{font_, L"Font"}, std::pair{size_, L"Font Size"}}) {
      COMBOBOXINFO parts{sizeof(parts)};
      GetComboBoxInfo(combo, &parts);
      for (HWND part : {combo, parts.hwndItem}) {
        if (!part) continue;
        TOOLINFOW tool{};
        tool.cbSize = TTTOOLINFOW_V2_SIZE;
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = toolbar_;
        tool.uId = reinterpret_cast<UINT_PTR>(part);
        tool.lpszText = const_cast<wchar_t*>(tip);
        SendMessageW(tips, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
      }
    }
  }
  std::set<std::wstring> names;
  LOGFONTW any{};
  any.lfCharSet = DEFAULT_CHARSET;
  HDC screen = GetDC(nullptr);
  EnumFontFamiliesExW(screen, &any, addFontName, reinterpret_cast<LPARAM>(&names), 0);
  ReleaseDC(nullptr, screen);
  for (const auto& name : names) SendMessageW(font_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(name.c_str()));
  for (const wchar_t* size : {L"8", L"9", L"10", L"11", L"12", L"14", L"16", L"18", L"20", L"24", L"28", L"36", L"48"})
    SendMessageW(size_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(size));
  return toolbar_;
}

int DesignerToolbar::height() const {
  if (!toolbar_) return 0;
  const DWORD size = static_cast<DWORD>(SendMessageW(toolbar_, TB_GETBUTTONSIZE, 0, 0));
  return std::max<int>(HIWORD(size), 22) + 4;
}

void DesignerToolbar::resize(int width) {
  if (toolbar_) MoveWindow(toolbar_, 0, 0, width, height(), TRUE);
}

void DesignerToolbar::show(const State& state) {
  if (!toolbar_) return;
  const auto enable = [this](UINT id, bool on) { SendMessageW(toolbar_, TB_ENABLEBUTTON, id, MAKELONG(on ? TRUE : FALSE, 0)); };
  const auto check = [this](UINT id, bool on) { SendMessageW(toolbar_, TB_CHECKBUTTON, id, MAKELONG(on ? TRUE : FALSE, 0)); };
  const bool formatting = state.editable && state.objects && state.texts;
  const auto value = [&](const wchar_t* key) {
    const designer::Property* p = formatting ? find(state.properties, key) : nullptr;
    return p ? toWide(p->value) : std::wstring();
  };
  for (UINT id : {UINT{kCommandBold}, UINT{kCommandItalic}, UINT{kCommandUnderline}, UINT{kCommandTextLeft},
                  UINT{kCommandTextCentre}, UINT{kCommandTextRight}, UINT{kCommandFontColour}})
    enable(id, formatting);
  check(kCommandBold, value(L"bold") == L"Yes");
  check(kCommandItalic, value(L"italic") == L"Yes");
  check(kCommandUnderline, value(L"underline") == L"Yes");
  const std::wstring alignment = value(L"alignment");
  check(kCommandTextLeft, alignment == L"Left");
  check(kCommandTextCentre, alignment == L"Centre");
  check(kCommandTextRight, alignment == L"Right");
  for (UINT id : {UINT{kCommandInsertText}, UINT{kCommandInsertField}, UINT{kCommandInsertLine},
                  UINT{kCommandInsertBox}, UINT{kCommandInsertPicture}})
    enable(id, state.editable);
  enable(kCommandUndo, state.editable && state.canUndo);
  enable(kCommandRedo, state.editable && state.canRedo);
  EnableWindow(font_, formatting);
  EnableWindow(size_, formatting);
  // The boxes show the shared font, but not while a person types into them.
  const HWND focus = GetFocus();
  if (focus != font_ && !IsChild(font_, focus)) {
    shownFont_ = value(L"font");
    SetWindowTextW(font_, shownFont_.c_str());
  }
  if (focus != size_ && !IsChild(size_, focus)) {
    shownSize_ = value(L"fontSize");
    SetWindowTextW(size_, shownSize_.c_str());
  }
}

std::optional<std::pair<Text, Text>> DesignerToolbar::boxCommand(WPARAM wParam, LPARAM lParam) {
  const HWND from = reinterpret_cast<HWND>(lParam);
  if (!from || (from != font_ && from != size_)) return std::nullopt;
  const int code = HIWORD(wParam);
  std::wstring chosen;
  if (code == CBN_SELENDOK) {
    const auto index = SendMessageW(from, CB_GETCURSEL, 0, 0);
    if (index < 0) return std::nullopt;
    chosen.resize(static_cast<std::size_t>(std::max<LRESULT>(SendMessageW(from, CB_GETLBTEXTLEN, index, 0), 0)) + 1);
    SendMessageW(from, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(chosen.data()));
    chosen.resize(wcslen(chosen.c_str()));
  } else if (code == CBN_KILLFOCUS) {
    wchar_t typed[256] = {};
    GetWindowTextW(from, typed, 256);
    chosen = typed;
    if (chosen == (from == font_ ? shownFont_ : shownSize_) || chosen.empty()) return std::nullopt;
  } else {
    return std::nullopt;
  }
  (from == font_ ? shownFont_ : shownSize_) = chosen;
  return std::make_pair(Text(from == font_ ? u"font" : u"fontSize"), fromWide(chosen));
}

bool DesignerToolbar::onNotify(const NMHDR& header) const {
  if (header.hwndFrom != toolbar_ || header.code != TBN_GETINFOTIPW) return false;
  auto& tip = const_cast<NMTBGETINFOTIPW&>(reinterpret_cast<const NMTBGETINFOTIPW&>(header));
  for (const Button& b : kButtons)
    if (b.tip && static_cast<int>(b.id) == tip.iItem && tip.pszText && tip.cchTextMax > 0) {
      lstrcpynW(tip.pszText, b.tip, tip.cchTextMax);
      return true;
    }
  return false;
}

}  // namespace mervane::authoring::win
