#pragma once

template <typename... Args>
class Callback
{
public:
    Callback();
    Callback(const Callback&);
    Callback& operator=(const Callback&);
    ~Callback();

    template <class Object, class... Parameters>
    Callback(Object* object, void (Object::*member)(Parameters...));

    explicit operator bool() const;
    void operator()(Args... args) const;
};
