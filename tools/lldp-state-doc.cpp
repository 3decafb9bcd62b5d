// Writes what the declaration of the state document's keys says, for people and for programs:
// the key tables of the state file's documentation and its JSON Schema.
//
//   lldp-state-doc --schema FILE        writes the JSON Schema
//   lldp-state-doc --tables FILE        rewrites the key tables between the FILE's markers
//   --check with either                 changes nothing; exits 1 when FILE differs
#include "state/StateKeys.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using namespace LldpSnmpd;

const char* const usage =
    "usage: lldp-state-doc [--check] --schema FILE | --tables FILE\n"
    "  --schema FILE  the JSON Schema of the state document\n"
    "  --tables FILE  the key tables between the markers <!-- keys: NAME --> and\n"
    "                 <!-- end keys --> of a Markdown file\n"
    "  --check        compare instead of writing; exit 1 when FILE is out of date\n";

std::string schemaText() {
    Schema schema = {{"$schema", "http://json-schema.org/draft-07/schema#"},
                     {"$id", "https://example.net/lldp-snmpd/state.schema.json"},
                     {"title", "lldp-snmpd state file"}};
    schema.update(stateKeys().schema());
    return schema.dump(2) + "\n";
}

// Replaces the body of every marked block with its section's table; a marker naming no
// section is an error, so a renamed section cannot leave a stale table behind.
bool tablesText(const std::string& current, std::string& out, std::string& error) {
    const std::string open = "<!-- keys: ";
    const std::string close = "<!-- end keys -->";
    size_t at = 0;
    while (true) {
        size_t start = current.find(open, at);
        if (start == std::string::npos) {
            out += current.substr(at);
            return true;
        }
        size_t nameEnd = current.find(" -->", start);
        size_t end = current.find(close, start);
        if (nameEnd == std::string::npos || end == std::string::npos) {
            error = "unterminated marker at byte " + std::to_string(start);
            return false;
        }
        std::string name = current.substr(start + open.size(), nameEnd - start - open.size());
        const SectionInfo* section = nullptr;
        for (const auto* s : allSections()) {
            if (s->name() == name) {
                section = s;
            }
        }
        if (!section) {
            error = "no section named \"" + name + "\"";
            return false;
        }
        out += current.substr(at, nameEnd + 4 - at) + "\n" + section->table();
        at = end;
    }
}

std::string readAll(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace

int main(int argc, char** argv) {
    bool check = false;
    std::string what;
    std::string file;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--check") {
            check = true;
        } else if ((arg == "--schema" || arg == "--tables") && i + 1 < argc) {
            what = arg;
            file = argv[++i];
        } else {
            std::cerr << (arg == "--help" ? "" : "lldp-state-doc: unknown argument " + arg + "\n")
                      << usage;
            return arg == "--help" ? 0 : 2;
        }
    }
    if (what.empty()) {
        std::cerr << usage;
        return 2;
    }
    std::string current = readAll(file);
    std::string wanted;
    if (what == "--schema") {
        wanted = schemaText();
    } else if (std::string error; !tablesText(current, wanted, error)) {
        std::cerr << "lldp-state-doc: " << file << ": " << error << "\n";
        return 2;
    }
    if (check) {
        if (current != wanted) {
            std::cerr << "lldp-state-doc: " << file << " differs from the declared keys; run "
                      << "lldp-state-doc " << what << " " << file << "\n";
            return 1;
        }
        return 0;
    }
    std::ofstream(file, std::ios::binary) << wanted;
    return 0;
}
