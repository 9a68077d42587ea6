#pragma once

// The programs that tests run, where this build put them. The paths name the
// build directory, so the build writes them into one source of its own
// (TestPrograms.cpp in the build tree) instead of into every test's compiler
// flags: every other test object is then the same in any checkout, and a
// compiler cache shares it between checkouts.
namespace VarnholtTestSupport {

extern const char* const kQueryBinary;            // varnholt-query
extern const char* const kMCPBinary;              // varnholt-mcp
extern const char* const kTransactionLoopBinary;  // tests/transaction_loop
extern const char* const kSampleDbBinary;         // varnholt-sample-db

}  // namespace VarnholtTestSupport
