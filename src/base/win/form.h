// Form: the base of every window of the library.
//
// A form is laid out from a table of controls with their places in twips
// (1/1440 inch), so each form's source reads like its layout table. It gives
// what the host's users expect of its windows: a modeless show, a modal show
// that disables the thread's other windows and returns when the form hides,
// the close button turned into a hide, Tab, Enter and Esc handled as in a
// dialog, the hourglass pointer, and one call to let waiting messages run.
#pragma once

#include <windows.h>

#include <span>
#include <string>

namespace mervane::win {

// The module (the DLL, or a program) this code is linked into. Window
// classes are registered for it, so that a program holding its own copy of
// the code beside the loaded DLL keeps the two apart.
HINSTANCE thisModule();

// Registers a window class for this module (hInstance is filled in) and
// remembers it, so that a DLL being unloaded can take its classes back: a
// class left behind would point at code that is gone. A class this module
// registered already counts as registered.
bool registerWindowClass(WNDCLASSEXW windowClass);
// Unregisters every class registerWindowClass registered.
void unregisterWindowClasses();

// The resolution `window` is shown at, in pixels per inch (the screen's for
// a null window). Every window of the library sizes itself by this.
int dpiOf(HWND window);
// Twips (1/1440 inch) to pixels at `dpi`: the one conversion of the
// library's layout tables, the designer's and the viewer's pages.
inline int twipsToPixels(int twips, int dpi) { return MulDiv(twips, dpi, 1440); }

struct ControlLayout {
  const wchar_t* windowClass;  // WC_STATIC, WC_BUTTON, PROGRESS_CLASS, ...
  const wchar_t* text;
  int id;
  int left, top, width, height;  // twips, relative to the parent
  DWORD style;                   // added to WS_CHILD | WS_VISIBLE
  int parentId = 0;              // 0: the form; else a control (a frame) holding it
};

// Makes one control of a layout table in `parent`, placed at the parent's
// resolution, in `font`; null when it cannot be made.
HWND createControl(HWND parent, const ControlLayout& control, HFONT font, DWORD exStyle = 0);

class Form {
 public:
  Form(std::wstring caption, int clientWidthTwips, int clientHeightTwips);
  virtual ~Form();
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  // Creates the window, hidden, with its controls, then runs onLoad().
  void load();
  void showModeless();
  // Returns when the form hides itself (or is destroyed).
  void showModal();
  void hide();
  bool visible() const;
  HWND hwnd() const { return hwnd_; }
  HWND control(int id) const;
  void setCaption(const std::wstring& caption);
  // Owned by `owner` and centred over it, kept on the screen (after load()).
  void centreOver(HWND owner);
  void setText(int id, const std::wstring& text);
  std::wstring text(int id) const;

  int pixelsX(int twips) const;
  int pixelsY(int twips) const;

 protected:
  void addControls(std::span<const ControlLayout> controls);
  HFONT font() const { return font_; }
  virtual void onLoad() {}
  virtual void onCommand(int /*id*/, int /*code*/) {}
  virtual void onActivateFirstTime() {}
  // The close button or the system menu's Close: hide instead, by default.
  virtual void onCloseRequest() { hide(); }
  virtual LRESULT onMessage(UINT message, WPARAM wParam, LPARAM lParam);
  // A message of the modal loop before the dialog keys see it (for menu
  // accelerators); true when it was handled.
  virtual bool preTranslateMessage(MSG& /*message*/) { return false; }
  // Dialog behaviour: Enter presses `defaultButton`, and the focus, when the
  // form gets it back (after a message box, say), returns to the control
  // that had it, or to `firstFocus` the first time.
  void keepDialogFocus(int firstFocus, int defaultButton) {
    firstFocus_ = firstFocus;
    defaultButton_ = defaultButton;
  }
  DWORD windowStyle_ = WS_POPUP | WS_CAPTION | WS_SYSMENU;
  DWORD windowExStyle_ = WS_EX_DLGMODALFRAME;

 private:
  static LRESULT CALLBACK windowProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam);
  std::wstring caption_;
  int clientWidth_, clientHeight_;
  HWND hwnd_ = nullptr;
  HFONT font_ = nullptr;
  bool activated_ = false;
  int firstFocus_ = 0;
  int defaultButton_ = 0;
  HWND lastFocus_ = nullptr;
};

// Lets the thread's waiting window messages be processed once.
void processMessages();

// The hourglass while an object of this type lives, then the pointer as before.
class WaitCursor {
 public:
  WaitCursor();
  ~WaitCursor();
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  HCURSOR previous_;
};

}  // namespace mervane::win
