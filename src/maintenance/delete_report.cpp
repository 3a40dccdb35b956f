#include "maintenance/delete_report.h"

#include "catalogue/stored_value.h"
#include "components/forgiving_file_system.h"
#include "components/forgiving_settings_store.h"

namespace mervane {

bool deleteReport(const SessionSettings& session, SettingsStore& store, FileSystem& files, const Text& repPath,
                  const Text& repFileName) {
  const bool endsWithSeparator = !repPath.empty() && repPath.back() == u'\\';
  const Text deletedFolder = repPath + (endsWithSeparator ? u"Deleted Reports" : u"\\Deleted Reports");
  const Text destination = deletedFolder + u"\\" + repFileName;
  const Text fullPath = repPath + (endsWithSeparator ? repFileName : u"\\" + repFileName);

  ForgivingFileSystem folder(files);
  folder.makeFolder(deletedFolder);
  folder.moveFile(fullPath, destination);
  ForgivingSettingsStore(store).remove(session.registryPath, kReportsSection, fullPath);
  return true;
}

}  // namespace mervane
