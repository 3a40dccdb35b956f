// Deleting a report never destroys it: the file moves into the "Deleted
// Reports" subfolder of its folder (made on first use, an existing file there
// never replaced) and its stored value is removed.
#pragma once

#include "catalogue/session_settings.h"
#include "components/file_system.h"
#include "components/settings_store.h"

namespace mervane {

// True once it has run to its end, whatever could be moved.
bool deleteReport(const SessionSettings& session, SettingsStore& store, FileSystem& files, const Text& repPath,
                  const Text& repFileName);

}  // namespace mervane
