#pragma once
// Assertions that stop the process: programming and configuration errors are not recoverable,
// and the text printed is what an engineer greps for in the log.
namespace Zim {

[[noreturn]] void assertionFailed(const char* text, const char* file, int line,
                                  const char* function) noexcept;

} // namespace Zim

#define ZIM_ASSERT(cond)                                                                           \
    ((cond) ? static_cast<void>(0)                                                                 \
            : ::Zim::assertionFailed(#cond, __FILE__, __LINE__, __PRETTY_FUNCTION__))

// An assertion with a name of its own ("reg_lldpMessageTxInterval"), for checks whose
// condition would read badly in a log.
#define ZIM_ASSERT_NAMED(cond, name)                                                               \
    ((cond) ? static_cast<void>(0)                                                                 \
            : ::Zim::assertionFailed((name), __FILE__, __LINE__, __PRETTY_FUNCTION__))
