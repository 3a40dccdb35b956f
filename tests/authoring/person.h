// A person at the keyboard, for tests of the library's windows under Windows
// or Wine. On a thread of its own it waits for a window by caption, types
// into boxes, presses buttons and keys, and reads and answers message boxes,
// while the test's thread sits in the window's modal loop.
//
// Buttons and keys are posted, never sent: a pressed button may open a
// message box, and a sent message would wait for it to close. Whatever the
// script leaves open when it ends (a message box, the window) is closed, so
// a failing script never leaves the test's thread waiting.
//
// MERVANE_DIALOG_HOLD_MS keeps each window open that long when it first
// appears, for screenshots.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

namespace mervane::testing {

class Person {
 public:
  // `patience` is how long to wait for the window, in hundredths of a
  // second: longer for a window that comes after another one.
  explicit Person(std::wstring caption, std::function<void(Person&, HWND)> script, int patience = 200)
      : caption_(std::move(caption)), script_(std::move(script)), patience_(patience), thread_([this] { run(); }) {}
  ~Person() { thread_.join(); }
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  // The visible top-level window of this process with this caption, waited
  // for up to two seconds (or `patience`); null if none appears.
  static HWND waitForWindow(const std::wstring& caption, HWND owner = nullptr, int patience = 200) {
    for (int i = 0; i < patience; ++i) {
      Search s{caption, owner, nullptr};
      EnumWindows(visit, reinterpret_cast<LPARAM>(&s));
      if (s.found) return s.found;
      Sleep(10);
    }
    return nullptr;
  }

  // Waits up to `ms` for `condition` to hold.
  template <typename Condition>
  static bool waitFor(Condition condition, int ms = 5000) {
    for (int i = 0; i < ms / 20; ++i, Sleep(20))
      if (condition()) return true;
    return condition();
  }

  // A mouse click in the middle of a window.
  static void click(HWND window) {
    RECT r{};
    GetClientRect(window, &r);
    const LPARAM at = MAKELPARAM(r.right / 2, r.bottom / 2);
    PostMessageW(window, WM_LBUTTONDOWN, MK_LBUTTON, at);
    PostMessageW(window, WM_LBUTTONUP, 0, at);
  }

  void type(HWND dialog, int id, const std::wstring& text) {
    SendMessageW(GetDlgItem(dialog, id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
  }
  // Keystrokes into whichever control has the focus.
  void typeKeys(HWND dialog, const std::wstring& text) {
    for (wchar_t c : text) PostMessageW(focus(dialog), WM_CHAR, c, 1);
    settle();
  }
  void pressKey(HWND dialog, UINT key) {
    PostMessageW(focus(dialog), WM_KEYDOWN, key, 1);
    PostMessageW(focus(dialog), WM_KEYUP, key, 0xC0000001);
    settle();
  }
  void press(HWND dialog, int id) {
    PostMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
    settle();
  }

  static std::wstring text(HWND window) {
    wchar_t buffer[512] = {};
    SendMessageW(window, WM_GETTEXT, 512, reinterpret_cast<LPARAM>(buffer));
    return buffer;
  }
  static std::wstring text(HWND dialog, int id) { return text(GetDlgItem(dialog, id)); }

  struct Message {
    std::wstring title, text;
    bool exclamation = false;
  };
  // Waits for a message box owned by `owner`, reads it and presses its OK
  // (or the button given).
  Message answerMessage(HWND owner, int button = IDOK) {
    Message m;
    HWND box = waitForMessageBox(owner);
    if (!box) return m;
    m.title = text(box);
    m.text = text(box, 0xFFFF);
    m.exclamation = hasIcon(box);
    PostMessageW(box, WM_COMMAND, button, 0);
    for (int i = 0; i < 200 && IsWindow(box) && IsWindowVisible(box); ++i) Sleep(10);
    settle();
    return m;
  }

  // The control with the keyboard focus on the window's thread.
  static HWND focus(HWND window) {
    GUITHREADINFO info = {sizeof(info)};
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &info);
    return info.hwndFocus;
  }
  static std::pair<int, int> selection(HWND edit) {
    DWORD start = 0, end = 0;
    SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
    return {static_cast<int>(start), static_cast<int>(end)};
  }
  // A message box owned by `owner`, waited for up to two seconds; null if
  // none appears.
  static HWND waitForMessageBox(HWND owner) {
    for (int i = 0; i < 200; ++i) {
      Search s{L"", owner, nullptr};
      EnumWindows(visit, reinterpret_cast<LPARAM>(&s));
      if (s.found && GetDlgItem(s.found, 0xFFFF)) return s.found;
      Sleep(10);
    }
    return nullptr;
  }
  // Waits until the window hides; false if it stays.
  static bool waitHidden(HWND window) {
    for (int i = 0; i < 200; ++i) {
      if (!IsWindow(window) || !IsWindowVisible(window)) return true;
      Sleep(10);
    }
    return false;
  }

 private:
  struct Search {
    const std::wstring& caption;
    HWND owner;
    HWND found;
  };
  static BOOL CALLBACK visit(HWND w, LPARAM p) {
    auto* s = reinterpret_cast<Search*>(p);
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    if (pid != GetCurrentProcessId() || !IsWindowVisible(w)) return TRUE;
    if (s->owner && GetWindow(w, GW_OWNER) != s->owner) return TRUE;
    if (!s->caption.empty() && text(w) != s->caption) return TRUE;
    s->found = w;
    return FALSE;
  }
  static bool hasIcon(HWND box) {
    for (HWND c = GetWindow(box, GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT))
      if ((GetWindowLongW(c, GWL_STYLE) & SS_TYPEMASK) == SS_ICON) return true;
    return false;
  }
  // Lets the window's thread act on what was posted.
  static void settle() { Sleep(60); }

  void run() {
    HWND window = waitForWindow(caption_, nullptr, patience_);
    if (!window) return;
    if (const char* hold = std::getenv("MERVANE_DIALOG_HOLD_MS")) Sleep(static_cast<DWORD>(std::atoi(hold)));
    script_(*this, window);
    // Whatever is still open is closed: message boxes first, then the window.
    // (A box without OK, such as Yes/No/Cancel, is answered No, then Cancel.)
    while (HWND box = findOwned(window)) {
      for (int answer : {IDOK, IDNO, IDCANCEL}) {
        PostMessageW(box, WM_COMMAND, answer, 0);
        if (waitHidden(box)) break;
      }
    }
    if (IsWindow(window) && IsWindowVisible(window)) PostMessageW(window, WM_CLOSE, 0, 0);
  }
  static HWND findOwned(HWND owner) {
    Search s{L"", owner, nullptr};
    EnumWindows(visit, reinterpret_cast<LPARAM>(&s));
    return s.found;
  }

  std::wstring caption_;
  std::function<void(Person&, HWND)> script_;
  int patience_;
  std::thread thread_;
};

}  // namespace mervane::testing
