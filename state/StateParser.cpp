#include "state/StateParser.h"

#include "state/StateKeys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

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
        case E::array_start:
            stepInArray();
            if (frames_.size() >= maxStateDepth) {
                throw StateError(path(), "nested deeper than the " + std::to_string(maxStateDepth) +
                                             " levels allowed");
            }
            frames_.push_back({event == E::array_start, {}, 0, {}});
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
                checkString(top.key);
                if (!top.keys.insert(top.key).second && duplicate_.empty()) {
                    duplicate_ = path();
                }
            }
            break;
        case E::value:
            if (parsed.is_string()) {
                checkString(parsed.get_ref<const std::string&>());
            }
            stepInArray();
            break;
        }
        return true;
    }
    const std::string& duplicate() const noexcept { return duplicate_; }
    std::string where() const { return path(true); }

private:
    struct Frame {
        bool isArray;
        std::string key;
        size_t next; // index of the next element of an array
        std::set<std::string> keys;
    };
    void checkString(const std::string& text) const {
        if (text.size() > maxStateString) {
            throw StateError(path(true), quotedText(text) + " has " + std::to_string(text.size()) +
                                             " bytes, more than the " +
                                             std::to_string(maxStateString) + " allowed");
        }
    }
    void stepInArray() {
        if (!frames_.empty() && frames_.back().isArray) {
            ++frames_.back().next;
        }
    }
    // inFlight: the path of the value being read, whose element the parser has not counted.
    std::string path(bool inFlight = false) const {
        std::string p = "$";
        for (size_t i = 0; i < frames_.size(); ++i) {
            const auto& f = frames_[i];
            const bool last = i + 1 == frames_.size();
            p = f.isArray ? element(p, f.next - (inFlight && last ? 0 : 1)) : child(p, f.key);
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

const char* fileKind(mode_t mode) {
    if (S_ISDIR(mode)) {
        return "a directory";
    }
    if (S_ISFIFO(mode)) {
        return "a named pipe";
    }
    if (S_ISSOCK(mode)) {
        return "a socket";
    }
    return S_ISCHR(mode) || S_ISBLK(mode) ? "a device" : "not a file";
}

std::string tooLarge(uint64_t bytes) {
    return "the file has " + std::to_string(bytes) + " bytes, more than the " +
           std::to_string(maxStateFileSize) + " allowed";
}

class UniqueFd {
public:
    explicit UniqueFd(int fd) : fd_(fd) {}
    ~UniqueFd() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    int get() const noexcept { return fd_; }

private:
    int fd_;
};

} // namespace

namespace {

// The JSON tree of the text, checked for duplicate keys, depth and string sizes.
Json parseTree(std::string_view text) {
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
        if (what.size() > 200) {
            what = what.substr(0, 200) + "...";
        }
        throw StateError(lineAndColumn(text, e.byte), "not valid JSON: " + Zim::printable(what));
    } catch (const Json::exception& e) {
        // A number beyond a double ("1e400"), found while reading the value at this place.
        std::string what = e.what();
        if (auto end = what.find("] "); end != std::string::npos) {
            what = what.substr(end + 2);
        }
        throw StateError(finder.where(), Zim::printable(what.substr(0, 200)));
    }
    if (!finder.duplicate().empty()) {
        throw StateError(finder.duplicate(), "duplicate key (a key may appear once per object)");
    }
    return j;
}

} // namespace

StateDoc parseState(std::string_view text) {
    return stateKeys().read(parseTree(text), "$");
}

StateDoc loadStateFile(const std::string& fileName) {
    // Non-blocking, so that a named pipe put at the path is refused rather than waited on.
    UniqueFd fd(open(fileName.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.get() < 0) {
        throw StateError("$", std::string("cannot open: ") + std::strerror(errno));
    }
    struct stat info {};
    if (fstat(fd.get(), &info) != 0) {
        throw StateError("$", std::string("cannot read: ") + std::strerror(errno));
    }
    if (!S_ISREG(info.st_mode)) {
        throw StateError("$", std::string("cannot read: not a regular file (") +
                                  fileKind(info.st_mode) + ")");
    }
    if (static_cast<uint64_t>(info.st_size) > maxStateFileSize) {
        throw StateError("$", tooLarge(static_cast<uint64_t>(info.st_size)));
    }
    std::string text;
    text.resize(static_cast<size_t>(info.st_size));
    size_t used = 0;
    for (;;) {
        if (used == text.size()) {
            // The file grew since fstat: read on, within the limit.
            if (text.size() >= maxStateFileSize + 1) {
                throw StateError("$", tooLarge(text.size()));
            }
            text.resize(std::min<size_t>(maxStateFileSize + 1, text.size() * 2 + 4096));
        }
        ssize_t n = read(fd.get(), text.data() + used, text.size() - used);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            throw StateError("$", std::string("cannot read: ") + std::strerror(errno));
        }
        if (n == 0) {
            break;
        }
        used += static_cast<size_t>(n);
    }
    if (used > maxStateFileSize) {
        throw StateError("$", tooLarge(used));
    }
    text.resize(used);
    // The text goes before the tree is read into a document: the three are never whole at once.
    Json tree = parseTree(text);
    std::string().swap(text);
    return stateKeys().read(tree, "$");
}

} // namespace LldpSnmpd
