// The session's data; see session_data.h.
#include "connections/session_data.h"

namespace mervane {

SessionData readSessionData(const SessionSettings& s) {
  return SessionData{hostDataSource(kHostDatabase, s.userName, s.userPassword, s.odbcServer),
                     serverDataSource(s.sqlServer, s.sqlDatabase, s.sqlLogin, s.sqlPassword),
                     readDataSource(s.sqlConnString)};
}

}  // namespace mervane
