#pragma once
// What a table definition must supply to the frame, checked when the frame is instantiated for
// it: a definition that lacks a member, or spells one differently, stops the build with a
// message naming the member. Nothing here has a default that a definition could shadow by
// accident: the frame derives what it can (the column range from the column list, the time
// filter from an index list that starts with lldpRemTimeMark, the registration mode from the
// presence of a SET refusal) and everything else is required.
//
// Required:
//   name            static constexpr const char*    the MIB name of the table
//   tableOid        static constexpr oid[]          the table's OID
//   indexes         static constexpr IndexObject[]  its index objects, in index order
//   columns         static constexpr unsigned[]     its accessible columns, ascending, contiguous
//   Map             type                            the collection the table walks
//   rows(root)      -> const Map&                   that collection in the mirror root
//   keyTypeName     static constexpr const char*    the key type as traces name it
//   keyFromHint(v)  -> key of Map                   the key a request's index names; throws the
//                                                   range exception when the index cannot be one
//   writeIndexes(w, key)                            the row's index values, in index order
//   answer(a, column, value) -> bool                one column of one row; false: not showable
//   mibModule()     -> Module&                      the module the table belongs to
// Optional:
//   keep(iterator)  -> bool                         rows the table lists (default: every row)
//   setRefusal      static constexpr const char*    registers the table writable, so a SET
//                                                   reaches the handler and is refused with
//                                                   this trace line
#include "mib/Module.h"
#include "platform/zim/String8.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <iterator>
#include <type_traits>

namespace Lldp::Snmp {
class Root;
}

namespace LldpMibFrame {

class IndexWriter;
class ColumnAnswer;

struct IndexObject {
    const char* name;
    u_char type;
    // Checks a decoded component on its own (VLAN ids); throws the range exception.
    void (*check)(uint32_t value) = nullptr;
};

// Index components decoded from a request, in index order (the time mark included, as 0).
// Integers hold their 32 bits, an OUI its 24-bit value; the one OCTET STRING component an
// index may have (a management address) is kept as its bytes.
struct HintValues {
    std::array<uint32_t, 8> numbers{};
    Zim::String8 octets;
    uint32_t operator[](size_t i) const noexcept { return numbers[i]; }
};

template <class Def> constexpr bool checkTableDefinition() {
    static_assert(
        requires {
            { Def::name } -> std::convertible_to<const char*>;
        },
        "table definition: missing `static constexpr const char* name`");
    static_assert(
        requires {
            { std::size(Def::tableOid) } -> std::convertible_to<size_t>;
            { Def::tableOid[0] } -> std::convertible_to<oid>;
        },
        "table definition: missing `static constexpr oid tableOid[]`");
    static_assert(
        requires {
            { Def::indexes[0] } -> std::convertible_to<IndexObject>;
            { std::size(Def::indexes) } -> std::convertible_to<size_t>;
        },
        "table definition: missing `static constexpr IndexObject indexes[]`");
    static_assert(
        requires {
            { Def::columns[0] } -> std::convertible_to<unsigned>;
            { std::size(Def::columns) } -> std::convertible_to<size_t>;
        },
        "table definition: missing `static constexpr unsigned columns[]`");
    static_assert(
        requires { typename Def::Map::ConstIterator; },
        "table definition: missing `using Map = ...` (the collection it walks)");
    if constexpr (requires { typename Def::Map::ConstIterator; }) {
        using Map = typename Def::Map;
        using Iterator = typename Map::ConstIterator;
        using Key = std::remove_cvref_t<decltype(std::declval<const Iterator&>().key())>;
        using Value = decltype(std::declval<const Iterator&>().value());
        static_assert(
            requires(const Lldp::Snmp::Root& root) {
                { Def::rows(root) } -> std::same_as<const Map&>;
            },
            "table definition: missing `static const Map& rows(const Root&)`");
        static_assert(
            requires {
                { Def::keyTypeName } -> std::convertible_to<const char*>;
            },
            "table definition: missing `static constexpr const char* keyTypeName`");
        static_assert(
            requires(const HintValues& values) {
                { Def::keyFromHint(values) } -> std::convertible_to<Key>;
            },
            "table definition: missing `static Key keyFromHint(const HintValues&)`");
        static_assert(
            requires(IndexWriter & writer, const Key& key) { Def::writeIndexes(writer, key); },
            "table definition: missing `static void writeIndexes(IndexWriter&, const Key&)`");
        static_assert(
            requires(ColumnAnswer & answer, Value value) {
                { Def::answer(answer, 1, value) } -> std::same_as<bool>;
            },
            "table definition: missing `static bool answer(ColumnAnswer&, int column, const "
            "Value&)`");
        static_assert(
            !requires { Def::keep; } ||
                requires(const Iterator& row) {
                    { Def::keep(row) } -> std::same_as<bool>;
                },
            "table definition: `keep` must be `static bool keep(const Map::ConstIterator&)`");
    }
    static_assert(
        requires {
            { Def::mibModule() } -> std::same_as<Module&>;
        },
        "table definition: missing `static Module& mibModule()` (derive from the module's base)");
    static_assert(
        !requires { Def::setRefusal; } ||
            requires {
                { Def::setRefusal } -> std::convertible_to<const char*>;
            },
        "table definition: `setRefusal` must be a `static constexpr const char*`");
    return true;
}

// The column list is the one place a definition states its columns; it must be ascending and
// without gaps, since net-snmp is told the range from the first to the last.
template <class Def> constexpr bool contiguousColumns() {
    for (size_t i = 1; i < std::size(Def::columns); ++i) {
        if (Def::columns[i] != Def::columns[i - 1] + 1)
            return false;
    }
    return std::size(Def::columns) > 0;
}

template <class Def>
concept TableDefinition = checkTableDefinition<Def>();

} // namespace LldpMibFrame
