#pragma once

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace common_ {

/// Guards callbacks that may run on one thread while their owner is destroyed on another: once the owner's destruction
/// has begun, they do nothing.
///
/// The owner holds the proxy as a member and calls ownerDestroyed before anything else in its destructor. That waits
/// for a functor that is running; so a functor must not destroy the owner.
class SafeCallbackProxy
{
    struct Holder
    {
        bool alive = true;
        std::mutex mutex;
    };

public:
    /// Calls the wrapped callable while the owner is alive. May be copied, and called on any thread.
    template <typename F>
    class Functor
    {
    public:
        void operator()()
        {
            const std::lock_guard lock{m_holder->mutex};
            if (m_holder->alive) {
                m_function();
            }
        }

    private:
        Functor(std::shared_ptr<Holder> holder, F function)
            : m_holder{std::move(holder)}, m_function{std::move(function)}
        {}

        std::shared_ptr<Holder> m_holder;
        F m_function;

        friend class SafeCallbackProxy;
    };

    SafeCallbackProxy() = default;
    ~SafeCallbackProxy() { ownerDestroyed(); }
    SafeCallbackProxy(const SafeCallbackProxy&) = delete;
    SafeCallbackProxy& operator=(const SafeCallbackProxy&) = delete;

    template <typename F>
    Functor<F> wrap(F function) const
    {
        return {m_holder, std::move(function)};
    }

    void ownerDestroyed()
    {
        const std::lock_guard lock{m_holder->mutex};
        m_holder->alive = false;
    }

private:
    const std::shared_ptr<Holder> m_holder = std::make_shared<Holder>();
};

} // namespace common_
