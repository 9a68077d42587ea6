// varnholt-rewrite-json: reads one JSON document on standard input and writes
// it with varnholt-query's own writer, so that a document that travelled
// through another program (the MCP client) can be compared with
// varnholt-query's output byte for byte: as varnholt-query prints it, or with
// --compact on one line, as a tool result's text carries it (no final
// newline). Test-only.

#include <cstring>
#include <iostream>
#include <iterator>
#include <string>

#include "output/JSONWriter.h"

int main(int argc, char** argv) {
    const bool compact = argc == 2 && std::strcmp(argv[1], "--compact") == 0;
    if (argc > 2 || (argc == 2 && !compact)) {
        std::cerr << "usage: varnholt-rewrite-json [--compact] < document.json\n";
        return 2;
    }
    const std::string text(std::istreambuf_iterator<char>(std::cin), {});
    const auto document = VarnholtQueryLib::JSON::parse(text, nullptr, false);
    if (document.is_discarded()) {
        std::cerr << "varnholt-rewrite-json: standard input is not one JSON document\n";
        return 2;
    }
    if (!compact) {
        VarnholtQueryLib::writeJSON(document);
        return 0;
    }
    const auto line = VarnholtQueryLib::serializeCompactJSON(document);
    if (!line) {
        std::cerr << "Failed to serialize JSON\n";
        return 1;
    }
    std::cout << *line;
    return 0;
}
