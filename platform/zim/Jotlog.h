#pragma once
// A bounded in-memory ring of recent events, cheap enough to keep on in production and dumped
// on demand (the daemon dumps it on SIGUSR1) when something needs explaining after the fact.
#include <cstddef>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace Jotlog {

struct Record {
    double time; // Zim::now() when recorded
    std::string text;
};

void record(std::string text);
std::vector<Record> records(); // oldest first
void capacityIs(size_t capacity);
size_t capacity();
void clear();
void dump(std::ostream& os);

// Records "<name> took <N>us" when the block ends.
class BlockTimer {
public:
    explicit BlockTimer(std::string name);
    ~BlockTimer();
    BlockTimer(const BlockTimer&) = delete;
    BlockTimer& operator=(const BlockTimer&) = delete;

private:
    std::string name_;
    double start_;
};

} // namespace Jotlog

#define JOTLOG(expr)                                                                               \
    do {                                                                                           \
        std::ostringstream jotlogOs_;                                                              \
        jotlogOs_ << expr;                                                                         \
        ::Jotlog::record(jotlogOs_.str());                                                         \
    } while (0)
