// The library's way to the host's components: the settings store shared by
// the thread, and new Vardo report readers per call. Each throws when the
// component cannot be created; every call on them throws when it fails.
#pragma once

#include <oaidl.h>

#include <memory>
#include <vector>

#include "components/host_readers.h"
#include "components/settings_store.h"

namespace mervane {

// The host's settings store, created on this thread's first use and kept for
// the life of the thread, or until the library is let go on this thread.
SettingsStore& threadSettingsStore();
// Lets go of this thread's settings store, when the host may unload the
// library: nothing of the library is alive then to use it, and the next use
// creates it again.
void releaseThreadSettingsStore();

std::unique_ptr<LegacyReportService> createLegacyReportService();
std::unique_ptr<ReportPropertyReader> createReportPropertyReader();

// The rows of a read-all answer: Empty gives none; a two-dimensional array
// (of VARIANT or BSTR, any bounds) gives one row per index of its first
// dimension, key and value from the first two columns. Throws on any other
// shape.
std::vector<SettingsStore::Row> settingsRows(const VARIANT& table);

}  // namespace mervane
