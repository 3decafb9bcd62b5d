#include "state/StateParser.h"

#include "state/StateKeys.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <set>

namespace LldpSnmpd {

StateError::StateError(std::string path, std::string reason)
    : std::runtime_error(path + ": " + reason), path_(std::move(path)), reason_(std::move(reason)) {
}

namespace {

// A hash of a neighbour's object as parsed (keys in order, values in one spelling), its change
// time left out.
uint64_t fingerprint(const Json& neighbor) {
    std::string canonical;
    if (neighbor.is_object()) {
        for (const auto& [key, value] : neighbor.items()) {
            if (key != "lastChangeTime") {
                canonical.append(key).push_back('\0');
                canonical.append(value.dump()).push_back('\0');
            }
        }
    }
    return std::hash<std::string_view>()(canonical);
}

// Watches the parser: checks depth, string sizes and duplicate keys, knowing where it stands to
// name the place, and reads each neighbour as soon as its object is complete, leaving it out of
// the tree, so that the tree holds one neighbour at a time.
class TreeWatcher {
public:
    TreeWatcher(StreamedNeighbors& streamed, const AppliedNeighbor& applied)
        : streamed_(streamed), applied_(applied) {}

    bool operator()(int, Json::parse_event_t event, const Json& parsed) {
        using E = Json::parse_event_t;
        switch (event) {
        case E::object_start:
        case E::array_start:
            stepInArray();
            if (frames_.size() == interfaceDepth) {
                interface_ = {};
            }
            if (frames_.size() >= maxStateDepth) {
                throw StateError(path(), "nested deeper than the " + std::to_string(maxStateDepth) +
                                             " levels allowed");
            }
            frames_.push_back({event == E::array_start, {}, 0, {}});
            break;
        case E::object_end:
        case E::array_end: {
            const bool keep = !(frames_.size() == neighborDepth + 1 && inNeighborList());
            if (!keep) {
                frames_.pop_back();
                readNeighbor(parsed);
                return false;
            }
            if (!frames_.empty()) {
                frames_.pop_back();
            }
            break;
        }
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
            noteInterface(parsed);
            if (frames_.size() == neighborDepth && inNeighborList()) {
                readNeighbor(parsed);
                return false;
            }
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
    // $ {interfaces: [ here
    static constexpr size_t interfaceDepth = 2;
    // $ {interfaces: [ {neighbors: [ here
    static constexpr size_t neighborDepth = 4;
    // The name and port number of the interface being read, once read (before its neighbours,
    // as files are written, or not at all).
    struct InterfaceSeen {
        std::optional<Ifkit::IntfId> name;
        std::optional<Interface::EthPortId> port;
    };
    void noteInterface(const Json& value) {
        if (frames_.size() != interfaceDepth + 1 || frames_[0].isArray ||
            frames_[0].key != "interfaces" || !frames_[1].isArray || frames_[2].isArray) {
            return;
        }
        if (frames_[2].key == "name" && value.is_string() &&
            !value.get_ref<const std::string&>().empty()) {
            interface_.name = Ifkit::IntfId(Zim::String8(value.get_ref<const std::string&>()));
        } else if (frames_[2].key == "portNum" && value.is_number_unsigned() &&
                   value.get<uint64_t>() <= Interface::EthPortId::max) {
            interface_.port = Interface::EthPortId(static_cast<uint16_t>(value.get<uint64_t>()));
        }
    }
    bool inNeighborList() const {
        return frames_.size() >= neighborDepth && !frames_[0].isArray &&
               frames_[0].key == "interfaces" && frames_[1].isArray && !frames_[2].isArray &&
               frames_[2].key == "neighbors" && frames_[3].isArray;
    }
    // The element just completed in the neighbour list on top of the frames. A refusal is kept
    // for its turn; once a duplicate key is seen the file is refused for that, so nothing more
    // is read.
    void readNeighbor(const Json& parsed) {
        const std::string list =
            child(element(child("$", "interfaces"), frames_[1].next - 1), "neighbors");
        StreamedNeighbor n{frames_[3].next - 1, 0, {}, {}};
        if (duplicate_.empty()) {
            try {
                n.doc = std::make_unique<NeighborDoc>(
                    neighborKeys().read(parsed, element(list, n.element)));
                n.doc->fingerprint = fingerprint(parsed);
                n.index = n.doc->index;
            } catch (const StateError& e) {
                n.refusal = std::make_unique<StateError>(e);
            }
        }
        if (n.doc && applied_ && interface_.name && interface_.port &&
            applied_(*interface_.name, *interface_.port, *n.doc)) {
            n.doc.reset();
        }
        streamed_[list].push_back(std::move(n));
    }
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
    StreamedNeighbors& streamed_;
    const AppliedNeighbor& applied_;
    InterfaceSeen interface_;
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

// The JSON tree of the text, checked for duplicate keys, depth and string sizes; the
// neighbours are read into `streamed` as they come and left out of the tree.
Json parseTree(std::string_view text, StreamedNeighbors& streamed,
               const AppliedNeighbor& applied = {}) {
    Json j;
    TreeWatcher finder(streamed, applied);
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
    SharedTexts shared;
    StreamedNeighbors streamed;
    const Json tree = parseTree(text, streamed);
    StreamedNeighborsScope scope(streamed);
    return stateKeys().read(tree, "$");
}

StateDoc loadStateFile(const std::string& fileName, const AppliedNeighbor& applied) {
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
    SharedTexts shared;
    StreamedNeighbors streamed;
    Json tree = parseTree(text, streamed, applied);
    std::string().swap(text);
    StreamedNeighborsScope scope(streamed);
    return stateKeys().read(tree, "$");
}

} // namespace LldpSnmpd
