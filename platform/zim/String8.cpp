#include "platform/zim/String8.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace Zim {

Ptr<const String8::Rep> String8::Rep::make(std::string_view bytes) {
    void* memory = ::operator new(sizeof(Rep) + bytes.size());
    auto* rep = new (memory) Rep(bytes.size());
    std::memcpy(static_cast<char*>(memory) + sizeof(Rep), bytes.data(), bytes.size());
    return Ptr<const Rep>(rep);
}

// Made by placement in memory of its own size and the bytes', so it goes the same way.
void String8::Rep::onZeroReferences() const noexcept {
    auto* self = const_cast<Rep*>(this);
    self->~Rep();
    ::operator delete(self);
}

String8::String8(std::string_view bytes) {
    if (!bytes.empty())
        rep_ = Rep::make(bytes);
}

std::string printable(const String8& s) {
    std::string out;
    out.reserve(s.size());
    for (unsigned char c : s.view()) {
        if (c >= 0x20 && c < 0x7f && c != '\\') {
            out += static_cast<char>(c);
        } else {
            char buf[5];
            std::snprintf(buf, sizeof buf, "\\x%02x", c);
            out += buf;
        }
    }
    return out;
}

} // namespace Zim
