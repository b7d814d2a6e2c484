#pragma once

#include <memory>

/** What WeakRefs to an object hang on: a member of the object, or of something that dies with it. */
class WeakRefAnchor
{
public:
    WeakRefAnchor() : m_life(std::make_shared<char>()) {}
    WeakRefAnchor(const WeakRefAnchor&) = delete;
    WeakRefAnchor& operator=(const WeakRefAnchor&) = delete;

private:
    template <class T>
    friend class WeakRef;
    std::shared_ptr<char> m_life;
};

/**
 * A reference that owns nothing and reads as null once the anchor that it hangs on is gone. It does not keep the object
 * alive while it is used: ask, and use the answer, on the thread that destroys the object.
 */
template <class T>
class WeakRef
{
public:
    /** A reference to an object that outlives every use. */
    explicit WeakRef(T* object) : m_object(object), m_isAnchored(false) {}

    WeakRef(T* object, const WeakRefAnchor& anchor) : m_object(object), m_isAnchored(true), m_life(anchor.m_life) {}

    T* Get() const noexcept { return m_isAnchored && m_life.expired() ? nullptr : m_object; }

private:
    T* m_object;
    bool m_isAnchored;
    std::weak_ptr<char> m_life;
};
