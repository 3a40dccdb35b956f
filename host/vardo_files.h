// Finding and reading Vardo report files on disk for the readers.
#pragma once

#include <string>
#include <vector>

namespace mervane::host {

// The first bytes of a file, at most limit of them. Throws win::ComError
// with the system's error when the file cannot be opened or read.
std::string readFileHead(const std::wstring& path, std::size_t limit);

// The base folders of a "ProgramReports" value: folders separated by ";",
// blanks around each removed, empty entries dropped.
std::vector<std::wstring> programReportFolders(const std::wstring& setting);

// Where an older-format report named relative to the base folders lives:
// an absolute name (drive or UNC) is used as it is; otherwise the first base
// folder that holds the file, else the first base folder; with no base
// folders, the process's current directory.
std::wstring resolveDefinitionPath(const std::vector<std::wstring>& folders, const std::wstring& name);

}  // namespace mervane::host
