#pragma once

#include <string>

namespace VarnholtQueryLib {

// The home directory of the user running the process, as the password
// database reports it (getpwuid_r). $HOME is deliberately not consulted: an
// agent may run us with a scrubbed or foreign environment, and the recorder's
// files always live below the account's real home.
// Trailing slashes are removed, so that appending "/.varnholt/varnholt.db"
// always gives one slash between the parts: a home of "/home/ada/" is
// "/home/ada", and a home of "/" itself is the empty string (its files are
// then "/.varnholt/..."). Nothing else is normalised.
// Returns an empty string when the account has no entry.
std::string userHomeDirectory();

}  // namespace VarnholtQueryLib
