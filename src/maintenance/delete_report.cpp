#include "maintenance/delete_report.h"

#include "base/attempt.h"
#include "catalogue/stored_value.h"

namespace mervane {

bool deleteReport(const SessionSettings& session, Services& services, const Text& repPath, const Text& repFileName) {
  const bool endsWithSeparator = !repPath.empty() && repPath.back() == u'\\';
  const Text deletedFolder = repPath + (endsWithSeparator ? u"Deleted Reports" : u"\\Deleted Reports");
  const Text destination = deletedFolder + u"\\" + repFileName;
  const Text fullPath = repPath + (endsWithSeparator ? repFileName : u"\\" + repFileName);

  FileSystem& files = services.fileSystem();
  attempt([&] {
    if (!files.folderExists(deletedFolder)) files.createFolder(deletedFolder);
  });
  attempt([&] { files.moveFile(fullPath, destination); });
  attempt([&] { services.settingsStore().remove(session.registryPath, kReportsSection, fullPath); });
  return true;
}

}  // namespace mervane
