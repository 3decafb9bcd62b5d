#include "state/StateParser.h"

#include "state/StateKeys.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <set>
#include <span>
#include <sstream>

namespace LldpSnmpd {

StateError::StateError(std::string path, std::string reason)
    : std::runtime_error(path + ": " + reason), path_(std::move(path)), reason_(std::move(reason)) {
}

namespace {

// Where the parser stands, so that a duplicate key can be named by its path.
class DuplicateKeyFinder {
public:
    bool operator()(int, Json::parse_event_t event, const Json& parsed) {
        using E = Json::parse_event_t;
        switch (event) {
        case E::object_start:
            stepInArray();
            frames_.push_back({false, {}, 0, {}});
            break;
        case E::array_start:
            stepInArray();
            frames_.push_back({true, {}, 0, {}});
            break;
        case E::object_end:
        case E::array_end:
            if (!frames_.empty()) {
                frames_.pop_back();
            }
            break;
        case E::key:
            if (!frames_.empty()) {
                auto& top = frames_.back();
                top.key = parsed.get<std::string>();
                if (!top.keys.insert(top.key).second && duplicate_.empty()) {
                    duplicate_ = path();
                }
            }
            break;
        case E::value:
            stepInArray();
            break;
        }
        return true;
    }
    const std::string& duplicate() const noexcept { return duplicate_; }

private:
    struct Frame {
        bool isArray;
        std::string key;
        size_t next; // index of the next element of an array
        std::set<std::string> keys;
    };
    void stepInArray() {
        if (!frames_.empty() && frames_.back().isArray) {
            ++frames_.back().next;
        }
    }
    std::string path() const {
        std::string p = "$";
        for (const auto& f : frames_) {
            p += f.isArray ? "[" + std::to_string(f.next - 1) + "]" : "." + f.key;
        }
        return p;
    }

    std::vector<Frame> frames_;
    std::string duplicate_;
};

std::string lineAndColumn(std::string_view text, size_t byte) {
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i + 1 < byte && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

} // namespace

StateDoc parseState(std::string_view text) {
    Json j;
    DuplicateKeyFinder finder;
    try {
        j = Json::parse(text.begin(), text.end(), std::ref(finder));
    } catch (const Json::parse_error& e) {
        // nlohmann's text starts with the position in its own words; keep the reason, and
        // never copy the file's bad bytes into the log.
        std::string what = e.what();
        if (auto column = what.find("column "); column != std::string::npos) {
            if (auto colon = what.find(": ", column); colon != std::string::npos) {
                what = what.substr(colon + 2);
            }
        }
        throw StateError(lineAndColumn(text, e.byte), "not valid JSON: " + Zim::printable(what));
    }
    if (!finder.duplicate().empty()) {
        throw StateError(finder.duplicate(), "duplicate key (a key may appear once per object)");
    }
    return stateKeys().read(j, "$");
}

StateDoc loadStateFile(const std::string& fileName) {
    std::error_code error;
    if (std::filesystem::is_directory(fileName, error)) {
        throw StateError("$", "cannot read: is a directory");
    }
    std::ifstream in(fileName, std::ios::binary);
    if (!in) {
        throw StateError("$", std::string("cannot open: ") + std::strerror(errno));
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        throw StateError("$", std::string("cannot read: ") + std::strerror(errno));
    }
    return parseState(text.str());
}

} // namespace LldpSnmpd
