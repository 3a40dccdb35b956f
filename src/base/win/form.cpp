#include "base/win/form.h"

#include <commctrl.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace mervane::win {

HINSTANCE thisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&thisModule), &module);
  return module;
}

namespace {

struct RegisteredClasses {
  std::mutex mutex;
  std::vector<std::wstring> names;
};

RegisteredClasses& registeredClasses() {
  static RegisteredClasses classes;
  return classes;
}

}  // namespace

bool registerWindowClass(WNDCLASSEXW windowClass) {
  windowClass.cbSize = sizeof(windowClass);
  windowClass.hInstance = thisModule();
  if (!RegisterClassExW(&windowClass) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS) return false;
  RegisteredClasses& classes = registeredClasses();
  std::lock_guard lock(classes.mutex);
  classes.names.emplace_back(windowClass.lpszClassName);
  return true;
}

void unregisterWindowClasses() {
  RegisteredClasses& classes = registeredClasses();
  std::lock_guard lock(classes.mutex);
  for (const std::wstring& name : classes.names) UnregisterClassW(name.c_str(), thisModule());
  classes.names.clear();
}

namespace {

constexpr wchar_t kFormClass[] = L"Mervane100Form";

void registerClassOnce() {
  static bool done = [] {
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_PROGRESS_CLASS | ICC_TAB_CLASSES | ICC_TREEVIEW_CLASSES |
                                                 ICC_STANDARD_CLASSES | ICC_WIN95_CLASSES};
    InitCommonControlsEx(&icc);
    WNDCLASSEXW wc{};
    wc.lpfnWndProc = DefWindowProcW;  // replaced per window in Form::load
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kFormClass;
    return registerWindowClass(wc);
  }();
  (void)done;
}

struct ControlSearch {
  int id;
  HWND found;
};

BOOL CALLBACK findControl(HWND h, LPARAM p) {
  auto* s = reinterpret_cast<ControlSearch*>(p);
  if (GetDlgCtrlID(h) != s->id) return TRUE;
  s->found = h;
  return FALSE;
}

BOOL CALLBACK collectEnabledWindow(HWND h, LPARAM p) {
  auto* list = reinterpret_cast<std::vector<HWND>*>(p);
  if (IsWindowVisible(h) && IsWindowEnabled(h)) list->push_back(h);
  return TRUE;
}

}  // namespace

int dpiOf(HWND window) {
  HDC dc = GetDC(window);
  int dpi = dc ? GetDeviceCaps(dc, LOGPIXELSX) : 96;
  if (dc) ReleaseDC(window, dc);
  return dpi > 0 ? dpi : 96;
}

HWND createControl(HWND parent, const ControlLayout& c, HFONT font, DWORD exStyle) {
  const int dpi = dpiOf(parent);
  HWND h = CreateWindowExW(exStyle, c.windowClass, c.text, WS_CHILD | WS_VISIBLE | c.style,
                           twipsToPixels(c.left, dpi), twipsToPixels(c.top, dpi), twipsToPixels(c.width, dpi),
                           twipsToPixels(c.height, dpi), parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(c.id)),
                           thisModule(), nullptr);
  if (h) SendMessageW(h, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  return h;
}

Form::Form(std::wstring caption, int clientWidthTwips, int clientHeightTwips)
    : caption_(std::move(caption)), clientWidth_(clientWidthTwips), clientHeight_(clientHeightTwips) {}

Form::~Form() {
  if (hwnd_) {
    SetWindowLongPtrW(hwnd_, GWLP_USERDATA, 0);
    DestroyWindow(hwnd_);
  }
  if (font_) DeleteObject(font_);
}

int Form::pixelsX(int twips) const { return twipsToPixels(twips, dpiOf(hwnd_)); }
int Form::pixelsY(int twips) const { return twipsToPixels(twips, dpiOf(hwnd_)); }

void Form::load() {
  if (hwnd_) return;
  registerClassOnce();
  // Tahoma 8.25 pt, as every form of the library is laid out.
  font_ = CreateFontW(-MulDiv(825, dpiOf(nullptr), 7200), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                      OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, L"Tahoma");
  RECT r = {0, 0, pixelsX(clientWidth_), pixelsY(clientHeight_)};
  AdjustWindowRectEx(&r, windowStyle_, FALSE, windowExStyle_);
  int width = r.right - r.left, height = r.bottom - r.top;
  int x = (GetSystemMetrics(SM_CXSCREEN) - width) / 2, y = (GetSystemMetrics(SM_CYSCREEN) - height) / 2;
  hwnd_ = CreateWindowExW(windowExStyle_, kFormClass, caption_.c_str(), windowStyle_, x, y, width, height, nullptr,
                          nullptr, thisModule(), nullptr);
  if (!hwnd_) return;
  SetWindowLongPtrW(hwnd_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(hwnd_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Form::windowProc));
  SendMessageW(hwnd_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  onLoad();
}

void Form::addControls(std::span<const ControlLayout> controls) {
  for (const ControlLayout& c : controls) {
    HWND parent = c.parentId ? control(c.parentId) : hwnd_;
    createControl(parent ? parent : hwnd_, c, font_);
  }
}

HWND Form::control(int id) const {
  if (!hwnd_) return nullptr;
  if (HWND h = GetDlgItem(hwnd_, id)) return h;
  // Controls inside frames are grandchildren.
  ControlSearch search{id, nullptr};
  EnumChildWindows(hwnd_, findControl, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

void Form::centreOver(HWND owner) {
  if (!hwnd_ || !owner) return;
  SetWindowLongPtrW(hwnd_, GWLP_HWNDPARENT, reinterpret_cast<LONG_PTR>(owner));
  RECT o, f;
  GetWindowRect(owner, &o);
  GetWindowRect(hwnd_, &f);
  const int width = f.right - f.left, height = f.bottom - f.top;
  const int right = std::max(0, GetSystemMetrics(SM_CXSCREEN) - width);
  const int bottom = std::max(0, GetSystemMetrics(SM_CYSCREEN) - height);
  const int x = std::clamp<int>((o.left + o.right - width) / 2, 0, right);
  const int y = std::clamp<int>((o.top + o.bottom - height) / 2, 0, bottom);
  SetWindowPos(hwnd_, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void Form::setCaption(const std::wstring& caption) {
  caption_ = caption;
  if (hwnd_) SetWindowTextW(hwnd_, caption.c_str());
}

void Form::setText(int id, const std::wstring& text) {
  if (HWND h = control(id)) SetWindowTextW(h, text.c_str());
}

std::wstring Form::text(int id) const {
  HWND h = control(id);
  if (!h) return std::wstring();
  int length = GetWindowTextLengthW(h);
  std::wstring out(static_cast<size_t>(length) + 1, L'\0');
  out.resize(static_cast<size_t>(GetWindowTextW(h, out.data(), length + 1)));
  return out;
}

void Form::showModeless() {
  if (!hwnd_) load();
  if (!hwnd_) return;
  ShowWindow(hwnd_, SW_SHOW);
  UpdateWindow(hwnd_);
}

bool Form::visible() const { return hwnd_ && IsWindowVisible(hwnd_); }

void Form::hide() {
  if (hwnd_) ShowWindow(hwnd_, SW_HIDE);
}

void Form::showModal() {
  if (!hwnd_) load();
  if (!hwnd_) return;
  lastFocus_ = nullptr;  // each show starts at the first control
  // Disable the thread's other windows, as a modal form does.
  std::vector<HWND> disabled;
  EnumThreadWindows(GetCurrentThreadId(), collectEnabledWindow, reinterpret_cast<LPARAM>(&disabled));
  std::erase(disabled, hwnd_);
  for (HWND h : disabled) EnableWindow(h, FALSE);

  ShowWindow(hwnd_, SW_SHOW);
  SetForegroundWindow(hwnd_);
  MSG msg;
  bool quit = false;
  int quitCode = 0;
  while (hwnd_ && IsWindowVisible(hwnd_)) {
    BOOL got = GetMessageW(&msg, nullptr, 0, 0);
    if (got == 0) {
      quit = true;
      quitCode = static_cast<int>(msg.wParam);
      break;
    }
    if (got < 0) break;
    if (!preTranslateMessage(msg) && !IsDialogMessageW(hwnd_, &msg)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
  }
  for (HWND h : disabled)
    if (IsWindow(h)) EnableWindow(h, TRUE);
  if (quit) PostQuitMessage(quitCode);
}

LRESULT Form::onMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  if (defaultButton_) {
    switch (message) {
      case WM_ACTIVATE:
        // Leaving (to a message box, say): remember which control had the focus.
        if (LOWORD(wParam) == WA_INACTIVE) {
          HWND focus = GetFocus();
          if (focus && IsChild(hwnd_, focus)) lastFocus_ = focus;
        }
        break;
      case WM_SETFOCUS: {
        // The form itself never keeps the focus.
        HWND target = lastFocus_ && IsWindowEnabled(lastFocus_) ? lastFocus_ : control(firstFocus_);
        if (target) SetFocus(target);
        return 0;
      }
      case DM_GETDEFID:
        return MAKELRESULT(defaultButton_, DC_HASDEFID);
      case WM_NEXTDLGCTL: {
        // As a dialog moves the focus (a label's underlined letter asks for
        // this): to the control given, or to the next or previous Tab stop.
        HWND target =
            LOWORD(lParam) ? reinterpret_cast<HWND>(wParam) : GetNextDlgTabItem(hwnd_, GetFocus(), wParam != 0);
        if (target && IsChild(hwnd_, target)) {
          SetFocus(target);
          if (SendMessageW(target, WM_GETDLGCODE, 0, 0) & DLGC_HASSETSEL) SendMessageW(target, EM_SETSEL, 0, -1);
        }
        return 0;
      }
      default:
        break;
    }
  }
  return DefWindowProcW(hwnd_, message, wParam, lParam);
}

LRESULT CALLBACK Form::windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* form = reinterpret_cast<Form*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  if (!form) return DefWindowProcW(hwnd, message, wParam, lParam);
  try {
    switch (message) {
      case WM_CLOSE:
        form->onCloseRequest();
        return 0;
      case WM_COMMAND:
        form->onCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
      case WM_ACTIVATE:
        // A hidden form that owns a dialog is activated when the dialog closes:
        // only the first activation while it is shown counts.
        if (LOWORD(wParam) != WA_INACTIVE && !form->activated_ && IsWindowVisible(hwnd)) {
          form->activated_ = true;
          PostMessageW(hwnd, WM_APP, 0, 0);  // run the first activation once the show is done
        }
        break;
      case WM_APP:
        form->onActivateFirstTime();
        return 0;
      default:
        break;
    }
    return form->onMessage(message, wParam, lParam);
  } catch (...) {
    return 0;  // a handler's failure never leaves the window procedure
  }
}

void processMessages() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

WaitCursor::WaitCursor() : previous_(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
WaitCursor::~WaitCursor() { SetCursor(previous_ ? previous_ : LoadCursorW(nullptr, IDC_ARROW)); }

}  // namespace mervane::win
