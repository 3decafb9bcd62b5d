#include "platform/zim/String8.h"

#include <cstdio>

namespace Zim {

String8::String8(std::string_view bytes) {
    if (!bytes.empty())
        rep_ = makePtr<const Rep>(bytes);
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
