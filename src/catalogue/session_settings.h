// The thirteen session values that the host sets on ReportFunctions.
// Stored exactly as given: no property validates, trims or changes them.
#pragma once

#include <cstdint>

#include "base/text.h"

namespace mervane {

struct SessionSettings {
  Text registryPath;   // root of every settings-store call
  Text module;         // host module; the scan compares it trimmed and upper-cased
  Text appName;        // title of the details dialog's messages
  std::int32_t parentHwnd = 0;  // stored, never read
  Text odbcServer;     // ODBC data source of the host's data
  Text userName;
  Text userPassword;
  Text sqlServer;      // the only value the host can read back
  Text sqlDatabase;
  Text sqlLogin;
  Text sqlPassword;
  Text sqlConnString;
  Text path;           // the reports folder, normally with a trailing separator
};

}  // namespace mervane
