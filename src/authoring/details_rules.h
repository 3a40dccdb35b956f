// What the report details dialog's OK button checks, before it lets the user
// go on: a file name is there, its extension suits the report's kind (a
// missing one is appended), and no file of that name is in the folder yet.
// The window only shows what these rules decide.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"
#include "components/file_system.h"

namespace mervane::details {

inline constexpr char16_t kCaption[] = u"Enter Report Details";

inline constexpr char16_t kNoFileName[] = u"You must enter a filename.";
inline constexpr char16_t kCrystalExtension[] =
    u"You have entered an incorrect file extension.  You must use .RPT for a Crystal Report.";
inline constexpr char16_t kVardoExtension[] =
    u"You have entered an incorrect file extension.  You must use .REPORT, .LAYOUT, .LETTER, .LABEL or "
    u".TEMPLATE for a Vardo Report.";
inline constexpr char16_t kFileExists[] = u"This file already exists.  Please enter a different filename.";

// The extension as the dialog compares it: from the last "." to the end,
// upper-cased; the whole name, upper-cased, when it holds no ".".
Text dialogExtension(TextView fileName);

// The outcome of pressing OK.
struct OkOutcome {
  Text fileName;                   // the file name box afterwards (an appended extension stays)
  std::optional<Text> message;     // the refusal to show; none when accepted
  bool focusFileName = false;      // after the message, the file name box takes the focus
  bool accepted() const { return !message.has_value(); }
};

// Runs OK's checks in their order. The existence test joins repPath and the
// file name with nothing between; a test that cannot be made counts as "the
// file exists".
OkOutcome pressOk(TextView fileName, std::int32_t repType, TextView repPath, FileSystem& files);

}  // namespace mervane::details
