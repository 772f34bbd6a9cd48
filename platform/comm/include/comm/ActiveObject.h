#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ipl/UUID.h"
#include "util/SharedPtr.h"

namespace comm {

/// One piece of work in an active object's queue. The queue holds it through a shared reference and destroys it after
/// it has run, or without running it when the active object ends first. It is queued once.
class ActiveObjectEvent
{
public:
    virtual ~ActiveObjectEvent() = default;

    /// Does the work, on the active object's thread. The result is 0.
    virtual int execute() = 0;

    /// The class of urgency; there is only one, 0.
    virtual int priority() { return 0; }

    /// Told when the active object ends before the event has run.
    virtual void cancel() {}

private:
    friend class EventQueue;

    std::shared_ptr<ActiveObjectEvent> m_next; // in the queue
};

class Loop;

/// Handle to a queue and the one thread that works it off, in the order of arrival. The thread runs an event loop that
/// also serves the unit's bus, so a component's messages, timers and posted work never run at the same time.
///
/// A handle is cheap to copy; a default-made one is not valid. enque may be called from any thread and never waits for
/// work to run. An event that throws is reported on "CON_COMM" and the loop goes on.
class ActiveObject
{
public:
    ActiveObject() = default;

    /// Starts the thread under the given name (15 characters are kept).
    explicit ActiveObject(const std::string& name);

    bool valid() const { return m_loop != nullptr; }

    /// Appends an event to the queue. On an active object that is ending, and on a handle that is not valid, the event
    /// is released without running. Needs no memory.
    void enque(util::SharedPtr<ActiveObjectEvent> event) const;

    /// Whether the caller runs on this active object's thread.
    bool isCurrent() const;

    /// Whether the bus takes what is sent from here more slowly than it is sent. A thread that posts what is to be sent
    /// asks this and waits, or messages are refused in the end.
    bool busCongested() const;

    /// Ends the thread: what is in the queue is cancelled, the bus connection closed. Called by the factory that owns
    /// the active object; called on its own thread it only asks for the end.
    void stop();

    /// For the bus layer.
    const std::shared_ptr<Loop>& loop() const { return m_loop; }

private:
    std::shared_ptr<Loop> m_loop;
};

/// Hands out the active object of the component that holds the factory.
class IActiveObjectFactory
{
public:
    virtual ~IActiveObjectFactory() = default;

    /// Asked with the nil identifier, returns the factory's own active object; there are no others.
    virtual ActiveObject getActiveObject(const ipl::UUID& id) = 0;

    /// Whether the factory has an active object to hand out.
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

/// Runs a callable on the active object and waits until it has run. On the active object's own thread it runs at once.
/// Returns false when the active object ended first.
bool runAndWait(const ActiveObject& activeObject, const std::function<void()>& work);

} // namespace comm
