#pragma once

#include <utility>

namespace common_ {

/// What a client's reply implementation is made of: the target that replies are handed on to, until detach.
template <typename TargetT>
class ReplyForwarder
{
public:
    using Target = TargetT;

    explicit ReplyForwarder(Target& target) : m_target{&target} {}
    void detach() { m_target = nullptr; }

protected:
    ~ReplyForwarder() = default;

    template <typename Result, typename... Parameters, typename... Args>
    void forward(Result (Target::*operation)(Parameters...), Args&&... args) const
    {
        if (m_target != nullptr) {
            (m_target->*operation)(std::forward<Args>(args)...);
        }
    }

    /// As forward, for a target that is a subject: to all its listeners.
    template <typename Operation, typename... Args>
    void tell(Operation operation, const Args&... args) const
    {
        if (m_target != nullptr) {
            m_target->notify(operation, args...);
        }
    }

private:
    Target* m_target;
};

} // namespace common_
