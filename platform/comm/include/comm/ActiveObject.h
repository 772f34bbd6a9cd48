#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ipl/UUID.h"
#include "util/SharedPtr.h"

namespace comm {

/// One piece of work in an active object's queue. The queue holds it through a shared reference and destroys it after
/// it has run, or without running it when the active object ends first. An event is queued at most once.
class ActiveObjectEvent
{
public:
    virtual ~ActiveObjectEvent() = default;

    /// Does the work, on the active object's thread. The result is 0.
    virtual int execute() = 0;

    /// The priority class; only 0 exists.
    virtual int priority() { return 0; }

    /// Called when the active object ends before the event has run.
    virtual void cancel() {}

private:
    friend class EventQueue;

    std::shared_ptr<ActiveObjectEvent> m_next; // next in the queue
};

class Loop;

/// Handle to a queue and its single thread, which runs the queued work in order. The thread runs an event loop that
/// also serves the unit's bus, so a component's messages, timers and posted work never run concurrently.
///
/// A handle is cheap to copy; a default-constructed one is not valid. enque may be called from any thread and never
/// waits for work to run. An exception of an event is reported on "CON_COMM", and the loop continues.
class ActiveObject
{
public:
    ActiveObject() = default;

    /// Starts the thread under the given name (15 characters are kept).
    explicit ActiveObject(const std::string& name);

    bool valid() const { return m_loop != nullptr; }

    /// Appends an event to the queue. Releases it without running it when the active object is ending or the handle is
    /// not valid. Allocates no memory.
    void enque(util::SharedPtr<ActiveObjectEvent> event) const;

    /// Whether the caller runs on this active object's thread.
    bool isCurrent() const;

    /// Whether messages are sent faster than the bus accepts them. A thread that posts messages to send must pause
    /// while this is true; otherwise messages are refused in the end.
    bool busCongested() const;

    /// Ends the thread: cancels the queued events, closes the bus connection. Called by the factory that owns the
    /// active object. Called on its own thread, it requests the end and returns.
    void stop();

    /// For the bus layer.
    const std::shared_ptr<Loop>& loop() const { return m_loop; }

private:
    std::shared_ptr<Loop> m_loop;
};

/// Provides the active object of the component that holds the factory.
class IActiveObjectFactory
{
public:
    virtual ~IActiveObjectFactory() = default;

    /// Returns the factory's own active object for the nil identifier; there are no others.
    virtual ActiveObject getActiveObject(const ipl::UUID& id) = 0;

    /// Whether the factory has an active object.
    virtual bool valid() const = 0;
};

/// A factory with one active object, which ends when the factory is destroyed.
template <typename ActiveObjectT>
class SingleThreadedActiveObjectFactory final : public IActiveObjectFactory
{
public:
    explicit SingleThreadedActiveObjectFactory(const std::string& name) : m_activeObject{name} {}
    ~SingleThreadedActiveObjectFactory() override { m_activeObject.stop(); }
    SingleThreadedActiveObjectFactory(const SingleThreadedActiveObjectFactory&) = delete;
    SingleThreadedActiveObjectFactory& operator=(const SingleThreadedActiveObjectFactory&) = delete;

    ActiveObject getActiveObject(const ipl::UUID&) override { return m_activeObject; }
    bool valid() const override { return m_activeObject.valid(); }

private:
    ActiveObjectT m_activeObject;
};

/// The shared handle to a factory that every component is constructed with.
using FactoryPtr = util::SharedPtr<IActiveObjectFactory>;

/// Runs a callable on the active object and waits until it has run. On the active object's own thread it runs
/// immediately. Returns false when the active object ended first.
bool runAndWait(const ActiveObject& activeObject, const std::function<void()>& work);

} // namespace comm
