#pragma once
// The keys of one JSON object of the state document, each declared once: its name, its type
// (reader, documentation text, JSON Schema), its default, the document member it fills, the
// entity setter it feeds and its documentation line. The same declaration drives the accepted
// keys and the reads of the parser, the applier, the documentation tables and the schema.
#include "state/ValueReaders.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace LldpSnmpd {

// Keeps the declared order of keys, so the schema reads like the documentation.
using Schema = nlohmann::ordered_json;

// One kind of value: how a state file writes it, how the documentation names it, how the
// schema describes it, and how a default of it is written in the documentation.
template <class T> struct ValueType {
    std::function<T(const Json&, const std::string&)> read;
    std::string text;
    Schema schema;
    std::function<std::string(const T&)> show;
};

// A value whose reading depends on keys read before it in the same object (a MAC address
// where the subtype says macAddress).
template <class Doc, class T> struct DependentType {
    std::function<T(const Json&, const std::string&, const Doc&)> read;
    std::string text;
    Schema schema;
    std::function<std::string(const T&)> show;
};

// How a key's absence is documented: required, or the value (or behaviour) it then has.
struct Absent {
    bool required = false;
    std::string text; // empty: shown from the document's own default
};
inline const Absent required{true, {}};
inline Absent byDefault(std::string text) {
    return {false, std::move(text)};
}

// What the documentation and the schema say of one key.
struct KeyInfo {
    std::string name;
    bool required = false;
    std::string type;
    std::string byDefault;
    std::string description;
    Schema schema;
};

// Entity of a section that feeds no entity (the applier handles it itself).
struct NoEntity {};

class SectionInfo {
public:
    // name: how the documentation refers to the object ("interface.config").
    explicit SectionInfo(std::string name) : name_(std::move(name)) {}
    const std::string& name() const noexcept { return name_; }
    const std::vector<KeyInfo>& keys() const noexcept { return info_; }
    // {"type": "object", "properties": ..., "required": ..., "additionalProperties": false}
    Schema schema() const;
    // The documentation's table: | key | type | default | description |
    std::string table() const;

protected:
    std::string name_;
    std::vector<KeyInfo> info_;
    std::vector<std::string> names_;
};

template <class Doc, class Entity = NoEntity> class Section : public SectionInfo {
public:
    using Reader = std::function<void(const Json&, const std::string&, Doc&)>;
    using Setter = std::function<void(const Doc&, Entity&)>;

    using SectionInfo::SectionInfo;

    // Reads the object into doc: keys in declared order; members of keys left out keep their
    // value. Refuses unknown keys and missing required ones.
    void read(const Json& j, const std::string& path, Doc& doc) const {
        Object o(j, path, names_);
        for (size_t i = 0; i < readers_.size(); ++i) {
            const std::string& key = info_[i].name;
            if (const Json* v = o.find(key)) {
                readers_[i](*v, o.path(key), doc);
            } else if (info_[i].required) {
                o.at(key);
            }
        }
    }
    Doc read(const Json& j, const std::string& path) const {
        Doc doc;
        read(j, path, doc);
        return doc;
    }

    // Sets every attribute the section feeds; the entity tells its reactors of real changes only.
    void apply(const Doc& doc, Entity& entity) const {
        for (const auto& set : setters_) {
            if (set) {
                set(doc, entity);
            }
        }
    }

    // A key held in a document member, optionally feeding an entity attribute.
    template <class T, class Type, class Attr = T>
    Section& field(std::string name, T Doc::*member, const Type& type,
                   void (Entity::*setter)(const Attr&), std::string description,
                   Absent absent = {}) {
        Setter set;
        if (setter) {
            set = [member, setter](const Doc& doc, Entity& e) { (e.*setter)(doc.*member); };
        }
        return add(name, member, type, std::move(set), std::move(description), absent);
    }
    template <class T, class Type>
    Section& field(std::string name, T Doc::*member, const Type& type, std::string description,
                   Absent absent = {}) {
        return add(name, member, type, {}, std::move(description), absent);
    }

    // A key present exactly when the state has that value (an optional TLV, a counter the
    // daemon keeps unless the file gives it).
    template <class T, class Type>
    Section& optional(std::string name, std::optional<T> Doc::*member, const Type& type,
                      std::string description, Absent absent) {
        Reader read = [member, type](const Json& j, const std::string& path, Doc& doc) {
            doc.*member = readValue(type, j, path, doc);
        };
        return declare({std::move(name), false, type.text, std::move(absent.text),
                        std::move(description), type.schema},
                       std::move(read), {});
    }

    // A nested object read by its own section.
    template <class T, class E>
    Section& object(std::string name, T Doc::*member, const Section<T, E>& section,
                    std::string description, Absent absent) {
        Reader read = [member, &section](const Json& j, const std::string& path, Doc& doc) {
            section.read(j, path, doc.*member);
        };
        return declare({std::move(name), absent.required, "object (`" + section.name() + "`)",
                        std::move(absent.text), std::move(description), section.schema()},
                       std::move(read), {});
    }

    // Any other key: its own reader (a list, an object filling several members).
    Section& custom(KeyInfo info, Reader read) {
        return declare(std::move(info), std::move(read), {});
    }

private:
    template <class Type>
    static auto readValue(const Type& type, const Json& j, const std::string& path,
                          const Doc& doc) {
        if constexpr (requires { type.read(j, path, doc); }) {
            return type.read(j, path, doc);
        } else {
            return type.read(j, path);
        }
    }

    template <class T, class Type>
    Section& add(std::string& name, T Doc::*member, const Type& type, Setter set,
                 std::string description, const Absent& absent) {
        std::string shown = absent.text;
        if (!absent.required && shown.empty() && type.show) {
            shown = type.show(Doc{}.*member);
        }
        Reader read = [member, type](const Json& j, const std::string& path, Doc& doc) {
            doc.*member = readValue(type, j, path, doc);
        };
        return declare({std::move(name), absent.required, type.text, std::move(shown),
                        std::move(description), type.schema},
                       std::move(read), std::move(set));
    }

    Section& declare(KeyInfo info, Reader read, Setter set) {
        names_.push_back(info.name);
        info_.push_back(std::move(info));
        readers_.push_back(std::move(read));
        setters_.push_back(std::move(set));
        return *this;
    }

    std::vector<Reader> readers_;
    std::vector<Setter> setters_;
};

// --- lists and optional objects -----------------------------------------------------------

inline KeyInfo listInfo(std::string name, const SectionInfo& items, std::string description) {
    return {std::move(name),
            false,
            "list of `" + items.name() + "`",
            "`[]`",
            std::move(description),
            {{"type", "array"}, {"items", items.schema()}}};
}

// Reads every element of a list with the items' section and hands it to insert(item, path), or
// insert(item, path, element) for an insert that quotes the element's own JSON.
template <class Item, class Entity, class Insert>
void readList(const Json& j, const std::string& path, const Section<Item, Entity>& items,
              Insert&& insert) {
    array(j, path);
    for (size_t i = 0; i < j.size(); ++i) {
        auto itemPath = element(path, i);
        if constexpr (std::is_invocable_v<Insert&, Item, const std::string&, const Json&>) {
            insert(items.read(j[i], itemPath), itemPath, j[i]);
        } else {
            insert(items.read(j[i], itemPath), itemPath);
        }
    }
}

// Reads an object that is there exactly when the neighbour sent that TLV.
template <class Doc, class T>
typename Section<Doc>::Reader optionalObject(std::optional<T> Doc::*member,
                                             const Section<T>& section) {
    return [member, &section](const Json& j, const std::string& path, Doc& doc) {
        doc.*member = section.read(j, path);
    };
}

// A key whose object is there exactly when the neighbour sent that TLV.
inline KeyInfo objectInfo(std::string name, const SectionInfo& section, std::string description) {
    return {std::move(name),
            false,
            "object (`" + section.name() + "`)",
            "not received",
            std::move(description),
            section.schema()};
}

} // namespace LldpSnmpd
