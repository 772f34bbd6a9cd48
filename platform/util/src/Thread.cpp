#include "util/Thread.h"

#include <cerrno>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "ipl/ErrorStorage.h"

namespace util {

Thread::Thread(std::string name, std::function<void()> function, std::function<void()> onStop)
    : m_name{std::move(name), 0, 15}, m_function{std::move(function)}, m_onStop{std::move(onStop)}
{}

Thread::Thread(std::string name, IRunnableT<Thread const* const>& runnable, std::function<void()> onStop)
    : Thread{std::move(name), [this, &runnable] { runnable.run(this); }, std::move(onStop)}
{}

Thread::~Thread()
{
    requestStop();
    join();
    if (m_stateDescriptor >= 0) {
        ::close(m_stateDescriptor);
    }
}

bool Thread::start()
{
    if (m_running) {
        ipl::ErrorStorage::set(EBUSY, "thread %s is started already", m_name.c_str());
        return true;
    }
    if (stateDescriptor() < 0) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(errno), "no descriptor for thread %s", m_name.c_str());
        return true;
    }
    if (join()) {
        return true;
    }
    try {
        m_running = true;
        m_thread = std::thread{[this] {
            m_function();
            m_running = false;
        }};
        pthread_setname_np(m_thread.native_handle(), m_name.c_str());
    } catch (const std::bad_alloc&) {
        ipl::ErrorStorage::set(ENOMEM, "no memory for thread %s", m_name.c_str());
        m_running = false;
    } catch (const std::system_error& error) {
        ipl::ErrorStorage::set(static_cast<std::uint32_t>(error.code().value()), "%s", error.what());
        m_running = false;
    }
    return !m_thread.joinable();
}

bool Thread::requestStateChange(State state)
{
    if (!m_thread.joinable()) {
        ipl::ErrorStorage::set(ESRCH, "thread %s is not started", m_name.c_str());
        return true;
    }
    if (stopRequested() && state != State::stop) {
        ipl::ErrorStorage::set(EBUSY, "thread %s is to stop", m_name.c_str());
        return true;
    }
    request(state);
    return false;
}

void Thread::request(State state)
{
    {
        const std::lock_guard lock{m_mutex};
        m_requested = state;
        if (m_stateDescriptor >= 0) {
            eventfd_t before;
            ::eventfd_read(m_stateDescriptor, &before);
            if (state != State::run) {
                ::eventfd_write(m_stateDescriptor, 1);
            }
        }
        m_changed.notify_all();
    }
    if (state == State::stop && m_onStop && m_thread.joinable()) {
        m_onStop();
    }
}

int Thread::stateDescriptor() const
{
    const std::lock_guard lock{m_mutex};
    if (m_stateDescriptor < 0) {
        m_stateDescriptor = ::eventfd(m_requested == State::run ? 0 : 1, EFD_NONBLOCK | EFD_CLOEXEC);
    }
    return m_stateDescriptor;
}

void Thread::enterPause(State whileRequested) const
{
    std::unique_lock lock{m_mutex};
    m_changed.wait(lock, [&] { return m_requested != whileRequested; });
}

void Thread::sleep(std::chrono::microseconds time) const
{
    std::unique_lock lock{m_mutex};
    m_changed.wait_for(lock, time, [this] { return m_requested != State::run; });
}

bool Thread::join()
{
    if (!m_thread.joinable()) {
        return false;
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        ipl::ErrorStorage::set(EDEADLK, "thread %s cannot join itself", m_name.c_str());
        return true;
    }
    m_thread.join();
    return false;
}

} // namespace util
