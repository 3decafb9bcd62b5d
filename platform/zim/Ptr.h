#pragma once
// Counted pointers: objects derive from PtrInterface and carry their own reference count,
// so a raw pointer handed through a C API (net-snmp's void* slots) can be re-adopted safely.
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>
#ifdef ZIM_THREAD_SAFE_PTR
#include <atomic>
#endif

namespace Zim {

class PtrInterface {
public:
    PtrInterface() = default;
    PtrInterface(const PtrInterface&) noexcept {}
    PtrInterface& operator=(const PtrInterface&) noexcept { return *this; }

    void newRef() const noexcept { ++references_; }
    void deleteRef() const noexcept {
        if (--references_ == 0) {
            onZeroReferences();
        }
    }
    long references() const noexcept { return references_; }

protected:
    virtual ~PtrInterface() = default;
    virtual void onZeroReferences() const noexcept { delete this; }

private:
#ifdef ZIM_THREAD_SAFE_PTR
    mutable std::atomic<long> references_{0};
#else
    mutable long references_ = 0;
#endif
};

// A counted object is deleted by its last Ptr, so it must never live anywhere else: every counted
// type declares its destructor protected, which makes a stack or member object of it a compile
// error. Ptr and makePtr check that it does.
template <class T>
concept HeapOnly =
    std::is_base_of_v<PtrInterface, std::remove_cv_t<T>> && !std::is_destructible_v<T>;

template <class T> class Ptr {
public:
    using element_type = T;

    Ptr() noexcept = default;
    Ptr(std::nullptr_t) noexcept {}
    Ptr(T* p) noexcept : p_(p) {
        static_assert(HeapOnly<T>, "a counted type declares its destructor protected, so that "
                                   "only makePtr can make it and only its last Ptr delete it");
        acquire();
    }
    Ptr(const Ptr& o) noexcept : p_(o.p_) { acquire(); }
    Ptr(Ptr&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Ptr(const Ptr<U>& o) noexcept : p_(o.get()) {
        acquire();
    }
    ~Ptr() { release(); }

    Ptr& operator=(Ptr o) noexcept {
        std::swap(p_, o.p_);
        return *this;
    }

    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    T& operator*() const noexcept { return *p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }

    friend bool operator==(const Ptr& a, const Ptr& b) noexcept { return a.p_ == b.p_; }
    friend bool operator==(const Ptr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }
    friend bool operator<(const Ptr& a, const Ptr& b) noexcept {
        return std::less<T*>()(a.p_, b.p_);
    }

private:
    void acquire() const noexcept {
        if (p_)
            p_->newRef();
    }
    void release() noexcept {
        if (p_)
            std::exchange(p_, nullptr)->deleteRef();
    }
    T* p_ = nullptr;
};

template <class T, class... Args> Ptr<T> makePtr(Args&&... args) {
    return Ptr<T>(new T(std::forward<Args>(args)...));
}

template <class T, class U> Ptr<T> ptrCast(const Ptr<U>& p) noexcept {
    return Ptr<T>(dynamic_cast<T*>(p.get()));
}

} // namespace Zim

template <class T> struct std::hash<Zim::Ptr<T>> {
    size_t operator()(const Zim::Ptr<T>& p) const noexcept { return std::hash<T*>()(p.get()); }
};
