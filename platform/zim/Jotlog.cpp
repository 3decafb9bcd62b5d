#include "platform/zim/Jotlog.h"

#include "platform/zim/Clock.h"

#include <chrono>
#include <cstdio>

namespace Jotlog {

namespace {

struct Ring {
    std::vector<Record> slots;
    size_t capacity = 4096;
    size_t next = 0; // where the next record goes once the ring is full
};

Ring& ring() {
    static Ring r;
    return r;
}

double monotonicSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

void record(std::string text) {
    auto& r = ring();
    if (r.capacity == 0)
        return;
    Record rec{Zim::now(), std::move(text)};
    if (r.slots.size() < r.capacity) {
        r.slots.push_back(std::move(rec));
    } else {
        r.slots[r.next] = std::move(rec);
        r.next = (r.next + 1) % r.capacity;
    }
}

std::vector<Record> records() {
    auto& r = ring();
    std::vector<Record> out;
    out.reserve(r.slots.size());
    for (size_t i = 0; i < r.slots.size(); ++i) {
        out.push_back(r.slots[(r.next + i) % r.slots.size()]);
    }
    return out;
}

void capacityIs(size_t capacity) {
    auto kept = records();
    auto& r = ring();
    r.capacity = capacity;
    r.slots.clear();
    r.next = 0;
    size_t skip = kept.size() > capacity ? kept.size() - capacity : 0;
    for (size_t i = skip; i < kept.size(); ++i)
        r.slots.push_back(std::move(kept[i]));
}

size_t capacity() {
    return ring().capacity;
}

void clear() {
    ring().slots.clear();
    ring().next = 0;
}

void dump(std::ostream& os) {
    for (const auto& rec : records()) {
        char stamp[32];
        std::snprintf(stamp, sizeof stamp, "%.6f", rec.time);
        os << stamp << ' ' << rec.text << '\n';
    }
}

BlockTimer::BlockTimer(std::string name) : name_(std::move(name)), start_(monotonicSeconds()) {}

BlockTimer::~BlockTimer() {
    auto micros = static_cast<long long>((monotonicSeconds() - start_) * 1e6);
    record(name_ + " took " + std::to_string(micros) + "us");
}

} // namespace Jotlog
