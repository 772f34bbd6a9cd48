#pragma once

#include <functional>

#include "comm/ActiveObject.h"

namespace test_support {

/// An active object of the test's own, which ends with it. What a component under test owns is made and destroyed
/// through run, as the daemon does it.
class TestActiveObject
{
public:
    TestActiveObject();

    const comm::FactoryPtr& factory() const { return m_factory; }

    /// Runs the callable on the active object and waits for it; what it throws is thrown here.
    void run(const std::function<void()>& callable) const;

    /// Waits until what is queued now has run. Events that those post in turn may still be queued.
    void drain() const;

    /// Ends the active object: what is queued is released without running.
    void stop() const;

private:
    const comm::FactoryPtr m_factory;
};

} // namespace test_support
