#pragma once

#include <memory>
#include <type_traits>

#include "CallbackConnection.h"
#include "NotifyTargetTaskIF.h"
#include "WeakRef.h"

template <typename... Args>
class AsyncCallback
{
public:
    AsyncCallback();
    AsyncCallback(const AsyncCallback&);
    AsyncCallback& operator=(const AsyncCallback&);
    ~AsyncCallback();

    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF* task, Object* object, void (Object::*member)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(NotifyTargetTaskIF* task, std::shared_ptr<Object> object, void (Object::*member)(Parameters...));
    template <class Object, class... Parameters>
    AsyncCallback(const CallbackConnection& connection, Object* object, void (Object::*member)(Parameters...));

    void operator()(std::decay_t<Args>... args) const;
};
