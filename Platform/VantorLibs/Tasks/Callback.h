#pragma once

#include <functional>
#include <utility>

/** A callback that runs at once, on the thread that invokes it. Copyable; an empty one must not be invoked. */
template <typename... Args>
class Callback
{
public:
    Callback() = default;

    /** Calls the object's member; the object must outlive the callback and its copies. */
    template <class Object, class... Parameters>
    Callback(Object* object, void (Object::*member)(Parameters...))
        : m_function([object, member](auto&&... args) { (object->*member)(std::forward<decltype(args)>(args)...); })
    {}

    explicit Callback(std::function<void(Args...)> function) : m_function(std::move(function)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_function); }

    void operator()(Args... args) const { m_function(std::forward<Args>(args)...); }

private:
    std::function<void(Args...)> m_function;
};
