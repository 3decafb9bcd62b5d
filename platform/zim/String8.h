#pragma once
// An immutable, reference-counted byte string. Binary-safe: chassis ids are raw MAC bytes.
#include "platform/zim/Ptr.h"

#include <compare>
#include <ostream>
#include <string>
#include <string_view>

namespace Zim {

class String8 {
public:
    String8() = default;
    String8(const char* text) : String8(std::string_view(text ? text : "")) {}
    String8(std::string_view bytes);
    String8(const std::string& bytes) : String8(std::string_view(bytes)) {}
    String8(const void* data, size_t size)
        : String8(std::string_view(static_cast<const char*>(data), size)) {}

    size_t size() const noexcept { return rep_ ? rep_->size : 0; }
    bool empty() const noexcept { return size() == 0; }
    const char* data() const noexcept { return rep_ ? rep_->bytes() : ""; }
    std::string_view view() const noexcept { return {data(), size()}; }
    std::string str() const { return std::string(view()); }
    const unsigned char* bytes() const noexcept {
        return reinterpret_cast<const unsigned char*>(data());
    }

    friend bool operator==(const String8& a, const String8& b) noexcept {
        return a.rep_ == b.rep_ || a.view() == b.view();
    }
    friend std::strong_ordering operator<=>(const String8& a, const String8& b) noexcept {
        return a.view() <=> b.view();
    }
    friend std::ostream& operator<<(std::ostream& os, const String8& s) { return os << s.view(); }

private:
    // The count, the size and the bytes in one allocation: the bytes follow the header.
    struct Rep : PtrInterface {
        static Ptr<const Rep> make(std::string_view bytes);
        const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
        const size_t size;

    protected:
        explicit Rep(size_t n) : size(n) {}
        // Counted: deleted by its last Ptr, never on the stack.
        ~Rep() override = default;
        void onZeroReferences() const noexcept override;
    };
    Ptr<const Rep> rep_;
};

// The printable form used in traces: text as is, other bytes as \xNN.
std::string printable(const String8& s);

} // namespace Zim

template <> struct std::hash<Zim::String8> {
    size_t operator()(const Zim::String8& s) const noexcept {
        return std::hash<std::string_view>()(s.view());
    }
};
