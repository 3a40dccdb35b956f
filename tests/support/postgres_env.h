// The private PostgreSQL server's settings, as postgres.sh writes them to
// postgres.env in the data fixture's folder: NAME=value lines, a value
// possibly in single quotes. Empty when the file is not there.
#pragma once

#include <fstream>
#include <map>
#include <string>

namespace mervane::testing {

inline std::map<std::string, std::string> readPostgresEnv(const std::string& file) {
  std::map<std::string, std::string> env;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    auto eq = line.find('=');
    if (eq == std::string::npos) continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '\'') value = value.substr(1, value.size() - 2);
    env[line.substr(0, eq)] = value;
  }
  return env;
}

}  // namespace mervane::testing
