// The ODBC headers, included in one place: on Windows they need windows.h
// first; unixODBC's stand alone (and its SQLWCHAR is 16 bits wide there as
// on Windows, so Text goes to the W functions as it is).
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <odbcinst.h>

#include "base/text.h"

namespace mervane::engine::data::odbc {

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "ODBC's wide characters must be UTF-16 code units");

inline SQLWCHAR* wide(Text& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }
inline SQLWCHAR* wide(const Text& text) { return const_cast<SQLWCHAR*>(reinterpret_cast<const SQLWCHAR*>(text.c_str())); }
inline bool succeeded(SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; }

}  // namespace mervane::engine::data::odbc
