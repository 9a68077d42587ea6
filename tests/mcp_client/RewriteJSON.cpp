// varnholt-rewrite-json: reads one JSON document on standard input and writes
// it with varnholt-query's own writer, so that a document that travelled
// through another program (the MCP client) can be compared with
// varnholt-query's output byte for byte. Test-only.

#include <iostream>
#include <iterator>
#include <string>

#include "output/JSONWriter.h"

int main() {
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    const auto document = VarnholtQueryLib::JSON::parse(text, nullptr, false);
    if (document.is_discarded()) {
        std::cerr << "varnholt-rewrite-json: standard input is not one JSON document\n";
        return 2;
    }
    VarnholtQueryLib::writeJSON(document);
    return 0;
}
