#include "comm/ActiveObject.h"

#include <cerrno>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <pthread.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>
#include <utility>

#include "Bus.h"
#include "Loop.h"
#include "comm/EventLoop.h"
#include "ipl/insist.h"
#include "tracing/Channel.h"

namespace comm {
namespace {

tracing::Channel s_channel{"CON_COMM", 7, 2};

} // namespace

Loop::Loop(std::string name) : m_name{std::move(name), 0, 15}
{
    m_wakeUp = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_wakeUp < 0) {
        throwError(errno, "eventfd");
    }
    int error = sd_event_new(&m_event);
    if (error >= 0) {
        error = sd_event_add_io(m_event, nullptr, m_wakeUp, EPOLLIN, &Loop::onPosted, this);
    }
    if (error < 0) {
        sd_event_unref(m_event);
        close(m_wakeUp);
        throwError(-error, "sd_event_new");
    }
}

Loop::~Loop()
{
    m_bus.reset();
    sd_event_unref(m_event);
    close(m_wakeUp);
}

// Whatever the bus needs is had now: who cannot have it does not start, rather than run without the bus.
void Loop::start()
{
    if (const int error = sd_event_add_post(m_event, nullptr, &Loop::onTurnEnd, this); error < 0) {
        throwError(-error, "sd_event_add_post");
    }
    m_bus = std::make_unique<Bus>(m_event);
    // The thread holds the loop: an active object that is released on its own thread ends after it has been left.
    m_thread = std::thread{[self = shared_from_this()] { self->run(); }};
    pthread_setname_np(m_thread.native_handle(), m_name.c_str());
}

void Loop::enque(util::SharedPtr<ActiveObjectEvent> event)
{
    bool wake = false;
    {
        const std::lock_guard lock{m_mutex};
        if (m_ending) {
            return;
        }
        wake = m_queue.empty();
        m_queue.push(std::move(event));
    }
    if (wake) {
        eventfd_write(m_wakeUp, 1);
    }
}

void Loop::stop()
{
    {
        const std::lock_guard lock{m_mutex};
        m_ending = true;
    }
    eventfd_write(m_wakeUp, 1);
    if (!m_thread.joinable()) {
        return;
    }
    if (isCurrent()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

Bus* Loop::bus()
{
    if (m_bus) {
        m_bus->use();
    }
    return m_bus.get();
}

int Loop::onTurnEnd(sd_event_source*, void* userdata)
{
    auto& loop = *static_cast<Loop*>(userdata);
    loop.m_busCongested.store(loop.m_bus->congested(), std::memory_order_relaxed);
    return 0;
}

int Loop::onPosted(sd_event_source*, int descriptor, unsigned, void* userdata)
{
    eventfd_t count;
    eventfd_read(descriptor, &count);
    static_cast<Loop*>(userdata)->runQueue();
    return 0;
}

void Loop::runQueue()
{
    std::unique_lock lock{m_mutex};
    if (m_ending) {
        sd_event_exit(m_event, 0);
        return;
    }
    EventQueue turn{std::move(m_queue)};
    lock.unlock();
    while (const auto event = turn.pop()) {
        execute(*event);
    }
}

void Loop::execute(ActiveObjectEvent& event)
{
    try {
        event.execute();
    } catch (const std::exception& error) {
        TRACE(s_channel, resource, "comm::Loop", "event on %s threw: %s", m_name.c_str(), error.what());
    } catch (...) {
        TRACE(s_channel, resource, "comm::Loop", "event on %s threw something unknown", m_name.c_str());
    }
}

void Loop::run()
{
    m_threadId = std::this_thread::get_id();
    if (const int error = runEventLoop(m_event); error < 0) {
        ipl::GlobalErrorHandler::doFatalError(__FILE__, __LINE__, __func__, "the event loop has failed");
    }
    m_bus.reset();

    std::unique_lock lock{m_mutex};
    m_ending = true;
    EventQueue left{std::move(m_queue)};
    lock.unlock();
    while (const auto event = left.pop()) {
        event->cancel();
    }
}

ActiveObject::ActiveObject(const std::string& name) : m_loop{std::make_shared<Loop>(name)}
{
    m_loop->start();
}

void ActiveObject::enque(util::SharedPtr<ActiveObjectEvent> event) const
{
    if (m_loop) {
        m_loop->enque(std::move(event));
    }
}

bool ActiveObject::isCurrent() const
{
    return m_loop && m_loop->isCurrent();
}

bool ActiveObject::busCongested() const
{
    return m_loop && m_loop->busCongested();
}

void ActiveObject::stop()
{
    if (m_loop) {
        m_loop->stop();
    }
}

namespace {

// The waiting side of runAndWait. The event holds it too, so a waiter that is told late finds it alive.
struct Rendezvous
{
    osal::Mutex mutex;
    std::condition_variable changed;
    bool released = false;
    bool done = false;

    void release(bool ran)
    {
        const std::lock_guard lock{mutex};
        if (!released) {
            released = true;
            done = ran;
            changed.notify_one();
        }
    }
};

class WaitedEvent final : public ActiveObjectEvent
{
public:
    WaitedEvent(std::shared_ptr<Rendezvous> rendezvous, const std::function<void()>& work)
        : m_rendezvous{std::move(rendezvous)}, m_work{work}
    {}

    // Released without having run: the active object has ended.
    ~WaitedEvent() override { m_rendezvous->release(false); }

    int execute() override
    {
        m_work();
        m_rendezvous->release(true);
        return 0;
    }

private:
    const std::shared_ptr<Rendezvous> m_rendezvous;
    const std::function<void()>& m_work; // alive until release
};

} // namespace

bool runAndWait(const ActiveObject& activeObject, const std::function<void()>& work)
{
    if (activeObject.isCurrent()) {
        work();
        return true;
    }
    std::shared_ptr<Rendezvous> rendezvous;
    ipl::insist({__FILE__, __LINE__, __func__}, "work waits for memory", [&] {
        rendezvous = std::make_shared<Rendezvous>();
        activeObject.enque(std::make_shared<WaitedEvent>(rendezvous, work));
    });
    std::unique_lock lock{rendezvous->mutex};
    rendezvous->changed.wait(lock, [&] { return rendezvous->released; });
    return rendezvous->done;
}

} // namespace comm
