#include "platform/zim/Exception.h"

#include "platform/zim/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Zim {

void throwRangeException(const std::string& text) {
    throw RangeException(text);
}

void throwNameInUseException(const std::string& text) {
    throw NameInUseException(text);
}

void assertionFailed(const char* text, const char* file, int line, const char* function) noexcept {
    std::fprintf(stderr, "assertion \"%s\" failed: %s (%s:%d)\n", text, function, file, line);
    std::fflush(stderr);
    std::abort();
}

} // namespace Zim
