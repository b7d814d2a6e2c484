#pragma once

#include "CallbackConnection.h"
#include "NotifyTargetTaskIF.h"
#include "TaskQueue.h"
#include "WeakRef.h"

#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

/**
 * A call to another task: bound to a member function and to the task that owns it.
 *
 * Invoking it posts a copy of the arguments to the task and returns. The member runs later on the task's thread, after
 * everything posted before. When the task is stopped before its turn comes, it does nothing; so does an empty callback.
 * Copies are cheap and stay bound to the same target. Invoking is thread-safe.
 */
template <typename... Args>
class AsyncCallback
{
public:
    AsyncCallback() = default;

    /** The object must live until the task is stopped. */
    template <class Object, class... Parameters>
    AsyncCallback(const NotifyTargetTaskIF* task, Object* object, void (Object::*member)(Parameters...))
        : m_target(
              std::make_shared<MemberTarget<Object, Parameters...>>(task->Queue(), WeakRef<Object>(object), member))
    {}

    /** The callback does nothing once the connection is gone. */
    template <class Object, class... Parameters>
    AsyncCallback(const CallbackConnection& connection, Object* object, void (Object::*member)(Parameters...))
        : m_target(std::make_shared<MemberTarget<Object, Parameters...>>(
              connection.Queue(), WeakRef<Object>(object, connection.Anchor()), member))
    {}

    /** Keeps the object alive for as long as the callback, a copy of it, or an invocation on its way is there. */
    template <class Object, class... Parameters>
    AsyncCallback(const NotifyTargetTaskIF* task, std::shared_ptr<Object> object, void (Object::*member)(Parameters...))
        : m_target(std::make_shared<OwningTarget<Object, Parameters...>>(task->Queue(), std::move(object), member))
    {}

    explicit operator bool() const noexcept { return static_cast<bool>(m_target); }

    void operator()(std::decay_t<Args>... args) const
    {
        // A copy: as soon as the handler has run, its task may destroy this callback and the queue.
        const std::shared_ptr<const Target> target = m_target;
        if (target) {
            target->queue->Push(std::make_unique<Message>(target, std::move(args)...));
        }
    }

private:
    struct Target
    {
        explicit Target(std::shared_ptr<TaskQueueIF> targetQueue) : queue(std::move(targetQueue)) {}
        virtual ~Target() = default;
        virtual void Invoke(std::decay_t<Args>&&... args) const = 0;

        const std::shared_ptr<TaskQueueIF> queue;
    };

    template <class Object, class... Parameters>
    struct MemberTarget final : Target
    {
        MemberTarget(std::shared_ptr<TaskQueueIF> targetQueue, WeakRef<Object> targetObject,
                     void (Object::*targetMember)(Parameters...))
            : Target(std::move(targetQueue)), object(std::move(targetObject)), member(targetMember)
        {}

        void Invoke(std::decay_t<Args>&&... args) const override
        {
            if (Object* const alive = object.Get()) {
                (alive->*member)(std::move(args)...);
            }
        }

        const WeakRef<Object> object;
        void (Object::*const member)(Parameters...);
    };

    template <class Object, class... Parameters>
    struct OwningTarget final : Target
    {
        OwningTarget(std::shared_ptr<TaskQueueIF> targetQueue, std::shared_ptr<Object> targetObject,
                     void (Object::*targetMember)(Parameters...))
            : Target(std::move(targetQueue)), object(std::move(targetObject)), member(targetMember)
        {}

        void Invoke(std::decay_t<Args>&&... args) const override { (object.get()->*member)(std::move(args)...); }

        const std::shared_ptr<Object> object;
        void (Object::*const member)(Parameters...);
    };

    class Message final : public TaskMessage
    {
    public:
        Message(std::shared_ptr<const Target> target, std::decay_t<Args>&&... args)
            : m_target(std::move(target)), m_args(std::move(args)...)
        {}

        void Run() override
        {
            std::apply([this](auto&... args) { m_target->Invoke(std::move(args)...); }, m_args);
        }

    private:
        const std::shared_ptr<const Target> m_target;
        std::tuple<std::decay_t<Args>...> m_args;
    };

    std::shared_ptr<const Target> m_target;
};
