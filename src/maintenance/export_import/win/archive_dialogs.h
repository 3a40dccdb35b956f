// The Windows pieces around the archive window: the user's personal
// documents folder, the common save and open dialogs, the drive test for
// archives that may span disks, and the library's message box.
#pragma once

#include <windows.h>

#include <optional>

#include "maintenance/export_import/archive_window.h"

namespace mervane::win {

// The personal documents folder through SHGetFolderPathA of shfolder.dll,
// loaded at run time; empty when the library, the call or the folder is
// missing.
Text personalFolder(HWND owner);

// The common dialogs; nothing when the user cancels or the dialog fails.
std::optional<Text> saveFileDialog(HWND owner, const FileDialogSettings& settings);
std::optional<Text> openFileDialog(HWND owner, const FileDialogSettings& settings);

// Whether the drive of `path`, made absolute, is a removable one.
bool onRemovableDrive(const Text& path);

// An OK-only message box with the exclamation icon, owned by the thread's
// active window.
void showExclamation(const Text& text, const Text& title);

}  // namespace mervane::win
