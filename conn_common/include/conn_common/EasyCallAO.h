#pragma once

#include <functional>
#include <utility>

#include "conn_common/DelayedCallback.h"

namespace common_ {

/// Base of a class that moves work of its own to its active object. Destruction as for DelayedCallback: what is still
/// posted then is not called.
class EasyCallAO
{
public:
    explicit EasyCallAO(comm::FactoryPtr factory) : m_call{this, &EasyCallAO::call, std::move(factory)} {}

    /// Calls the function on the active object, once. May be called from any thread; an empty function is skipped.
    void post(std::function<void()> function) { m_call.schedule(std::move(function)); }

protected:
    ~EasyCallAO() = default;

private:
    void call(const std::function<void()>& function)
    {
        if (function) {
            function();
        }
    }

    DelayedCallback<EasyCallAO, std::function<void()>> m_call;
};

} // namespace common_
