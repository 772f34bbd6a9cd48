#pragma once

#include <functional>
#include <mutex>
#include <type_traits>
#include <utility>

#include "comm/ActiveObject.h"
#include "conn_common/allocate.h"
#include "ipl/GlobalErrorHandler.h"
#include "iplbase/NonCopyable.h"
#include "osal/Mutex.h"
#include "util/SharedPtr.h"

namespace common_ {

/// Told when the callback that the object refers to is being destroyed: forget it.
class ICallbackDestroyedListener
{
public:
    virtual ~ICallbackDestroyedListener() = default;
    virtual void callbackDestroyed() = 0;
};

template <typename Arg>
class DelayedCallbackEvent;

/// Calls a target with an argument later, on the active object of its owner.
///
/// schedule may be called from any thread. The callback is destroyed on its active object's thread, or after that
/// active object has ended, and not while a schedule is under way; calls that are still queued then never happen and
/// their arguments are released with the queue. Nothing limits the number of queued calls: who posts without end must
/// count.
template <typename Arg>
class DelayedCallbackBase : private iplbase::NonCopyable
{
public:
    using Value = std::remove_const_t<Arg>;
    using Target = std::function<void(Arg)>;

    DelayedCallbackBase(comm::FactoryPtr factory, Target target)
        : m_factory{std::move(factory)}, m_target{std::move(target)}
    {}

    virtual ~DelayedCallbackBase()
    {
        const std::lock_guard lock{m_mutex};
        for (auto* event = m_firstPending; event != nullptr; event = event->m_next) {
            event->callbackDestroyed();
        }
    }

    /// Queues one call of the target and returns without running it. Calls run once each, in the order of their
    /// scheduling; an empty target makes the event throw std::bad_function_call in the active object's loop. An active
    /// object that is not valid is a fatal assertion.
    void schedule(Value arg)
    {
        const auto ao = m_factory->getActiveObject(ipl::UUID{});
        if (!ao.valid()) {
            ipl::GlobalErrorHandler::doFatalAssert("ao.valid()", kSource, 94, "schedule", "");
        }
        auto event = allocateShared<DelayedCallbackEvent<Arg>>(
            {kSource, 100, "schedule"}, "Couldn't allocate ActiveObjectEvent for delayed callback", *this,
            std::move(arg));
        remember(*event);
        ao.enque(std::move(event));
    }

private:
    static constexpr const char* kSource = "conn_common/include/conn_common/DelayedCallback";

    // The pending events are linked through themselves: they need no memory for it.
    void remember(DelayedCallbackEvent<Arg>& event)
    {
        const std::lock_guard lock{m_mutex};
        event.m_previous = m_lastPending;
        (m_lastPending != nullptr ? m_lastPending->m_next : m_firstPending) = &event;
        m_lastPending = &event;
    }

    void forget(const DelayedCallbackEvent<Arg>& event)
    {
        const std::lock_guard lock{m_mutex};
        (event.m_previous != nullptr ? event.m_previous->m_next : m_firstPending) = event.m_next;
        (event.m_next != nullptr ? event.m_next->m_previous : m_lastPending) = event.m_previous;
    }

    const comm::FactoryPtr m_factory;
    const Target m_target;
    osal::Mutex m_mutex;
    DelayedCallbackEvent<Arg>* m_firstPending = nullptr;
    DelayedCallbackEvent<Arg>* m_lastPending = nullptr;

    friend class DelayedCallbackEvent<Arg>;
};

/// A delayed callback whose target is a member function of its owner, which takes the argument by value or by reference
/// to const.
template <typename Owner, typename Arg>
class DelayedCallback : public DelayedCallbackBase<Arg>
{
public:
    template <typename Parameter>
    DelayedCallback(Owner* owner, void (Owner::*member)(Parameter), comm::FactoryPtr factory)
        : DelayedCallbackBase<Arg>{std::move(factory), [owner, member](typename DelayedCallbackBase<Arg>::Value arg) {
                                       (owner->*member)(std::move(arg));
                                   }}
    {}
};

/// One queued call of a delayed callback, with its argument. Made by schedule, destroyed by the queue.
template <typename Arg>
class DelayedCallbackEvent final : public comm::ActiveObjectEvent,
                                   public ICallbackDestroyedListener,
                                   private iplbase::NonCopyable
{
public:
    using Value = typename DelayedCallbackBase<Arg>::Value;

    DelayedCallbackEvent(DelayedCallbackBase<Arg>& callback, Value&& arg) : m_callback{&callback}, m_arg{std::move(arg)}
    {}

    ~DelayedCallbackEvent() override { detach(); }

    int execute() override
    {
        if (m_callback != nullptr) {
            auto arg = std::move(m_arg);
            m_callback->m_target(std::move(arg));
        }
        return 0;
    }

    int priority() override { return 0; }

    void cancel() override { detach(); }

    void callbackDestroyed() override { m_callback = nullptr; }

private:
    // Leaves the pending list as well: the callback must not be left with the address of an event that is gone.
    void detach()
    {
        if (auto* const callback = std::exchange(m_callback, nullptr); callback != nullptr) {
            callback->forget(*this);
        }
    }

    DelayedCallbackBase<Arg>* m_callback;
    Value m_arg;
    DelayedCallbackEvent* m_next = nullptr; // these two are the callback's
    DelayedCallbackEvent* m_previous = nullptr;

    friend class DelayedCallbackBase<Arg>;
};

} // namespace common_
