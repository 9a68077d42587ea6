#pragma once

#include <string>

namespace VarnholtSQLiteSupport {

// The home directory of the user running the process, as the password
// database reports it (getpwuid_r). $HOME is deliberately not consulted: an
// agent may run us with a scrubbed or foreign environment, and the recorder's
// files always live below the account's real home.
// Returns an empty string when the account has no entry.
std::string userHomeDirectory();

}  // namespace VarnholtSQLiteSupport
