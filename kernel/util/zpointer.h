#pragma once

#include "kernel/main/export.h"

#include <atomic>
#include <utility>

namespace tov::util {

/// Base of objects held through `ZPointer`. The count starts at 0; the object deletes itself when the last pointer is
/// destroyed or reset. Thread: any (the count is atomic).
class TOV_EXPORT ZReferenced
{
public:
    ZReferenced() = default;
    ZReferenced(const ZReferenced&) = delete;
    ZReferenced& operator=(const ZReferenced&) = delete;

    /// Adds an owner.
    void addReference() const { m_References.fetch_add(1, std::memory_order_relaxed); }
    /// Removes an owner, and deletes the object after the last one.
    void releaseReference() const
    {
        if (m_References.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    /// The number of owners, for tests and diagnosis.
    int referenceCount() const { return m_References.load(); }

protected:
    virtual ~ZReferenced();

private:
    mutable std::atomic<int> m_References{0};
};

/// Intrusive, reference-counted pointer to a `ZReferenced`. May be null. Thread: any for distinct pointers.
template <typename T>
class ZPointer
{
public:
    ZPointer() = default;
    ZPointer(T* object) : mp_Object(object) { acquire(); }
    ZPointer(const ZPointer& other) : mp_Object(other.mp_Object) { acquire(); }
    ZPointer(ZPointer&& other) noexcept : mp_Object(std::exchange(other.mp_Object, nullptr)) {}
    ~ZPointer() { release(); }

    /// Shares the other pointer's object and releases the current one.
    ZPointer& operator=(ZPointer other) noexcept
    {
        std::swap(mp_Object, other.mp_Object);
        return *this;
    }

    /// The object, still owned by the pointers; may be null.
    T* get() const { return mp_Object; }
    /// The object; must not be null.
    T* operator->() const { return mp_Object; }
    /// The object; must not be null.
    T& operator*() const { return *mp_Object; }
    /// False for null.
    explicit operator bool() const { return mp_Object != nullptr; }
    /// True when both point to the same object.
    bool operator==(const ZPointer& other) const { return mp_Object == other.mp_Object; }

private:
    void acquire()
    {
        if (mp_Object)
            mp_Object->addReference();
    }
    void release()
    {
        if (mp_Object)
            mp_Object->releaseReference();
    }

    T* mp_Object = nullptr;
};

} // namespace tov::util
