// varnholt-query-literal: the benchmark's reference. The same code as
// varnholt-query, except that every query runs its literal statement, as if
// the database had none of the recorder's indexes; so the benchmark can time
// both in one run on one database. Built only with the benchmarks; the tool
// itself has no switch or variable for this.

#include <string>
#include <vector>

#include "IndexCatalogue.h"
#include "cli/CLI.h"

int main(int argc, char** argv) {
    VarnholtSQLiteSupport::IndexCatalogue::useLiteralStatementsOnly();
    VarnholtQueryLib::runCLI(std::vector<std::string>(argv, argv + argc));
    return 0;
}
