#pragma once
// Named entities with a parent, directories of them, and singletons by type name. The host's
// state store is a tree of these: an entity is found by its path from a mount point.
#include "platform/zim/Ptr.h"
#include "platform/zim/String8.h"

#include <map>
#include <string>
#include <string_view>

namespace Zim {

class Entity : public PtrInterface {
public:
    explicit Entity(String8 name) : name_(std::move(name)) {}

    const String8& name() const noexcept { return name_; }
    Entity* parent() const noexcept { return parent_; }
    void parentIs(Entity* parent) noexcept { parent_ = parent; }
    // "/a/b/name" up to the topmost ancestor.
    std::string fullName() const;
    virtual const char* typeName() const noexcept { return "Zim::Entity"; }

    static bool singletonExists(std::string_view typeName);
    static Ptr<Entity> singleton(std::string_view typeName);
    // The singleton of type T, made with T's default constructor the first time.
    template <class T> static Ptr<T> singletonIs(std::string_view typeName) {
        if (auto existing = ptrCast<T>(singleton(typeName)))
            return existing;
        auto made = makePtr<T>();
        singletonStore(typeName, made);
        return made;
    }
    static void singletonDel(std::string_view typeName);

private:
    static void singletonStore(std::string_view typeName, Ptr<Entity> entity);

    String8 name_;
    Entity* parent_ = nullptr; // parents own their children, never the reverse

protected:
    // Counted: deleted by its last Ptr, never on the stack.
    ~Entity() override = default;
};

class Dir : public Entity {
public:
    using Entity::Entity;
    Dir(const Dir&) = delete;
    Dir& operator=(const Dir&) = delete;
    const char* typeName() const noexcept override { return "Zim::Dir"; }

    Ptr<Entity> entity(const String8& name) const;
    // Adds a child; a different entity under the same name is refused (name in use).
    void entityIs(const Ptr<Entity>& child);
    void entityDel(const String8& name);
    // The child directory of that name, made when absent.
    Ptr<Dir> dirIs(const String8& name);
    // Resolves "a/b/c" below this directory; null when any step is missing.
    Ptr<Entity> lookup(std::string_view path) const;
    // Places an entity at "a/b/c", making the directories on the way.
    void mount(std::string_view path, const Ptr<Entity>& entity);
    const std::map<String8, Ptr<Entity>>& children() const noexcept { return children_; }

private:
    std::map<String8, Ptr<Entity>> children_;

protected:
    // Counted: deleted by its last Ptr, never on the stack. Children that outlive the
    // directory must not keep pointing at it.
    ~Dir() override;
};

} // namespace Zim
