#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "osal/Mutex.h"
#include "util/IRunnable.h"

namespace util {

/// A thread with a name that `ps -L` and a debugger show. It runs one function once.
///
/// start, requestStateChange and join are called by the owner, the const operations by the function, which looks at the
/// requested state in good time. A runnable that waits does so in sleep or enterPause, or watches stateDescriptor, and
/// is thus woken by a request; waking a plain function that waits is its owner's business. The destructor asks for the
/// stop and joins.
class Thread
{
public:
    enum class State : std::uint8_t
    {
        run = 0,
        pause = 1,
        stop = 2
    };

    /// The name is cut at 15 characters, the most that Linux keeps. Nothing runs before start.
    Thread(std::string name, std::function<void()> function);

    /// As above; the runnable is given this thread.
    Thread(std::string name, IRunnableT<Thread const* const>& runnable);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread. Returns true on error: no thread to be had, or started and not joined yet (the reason is in
    /// ipl::ErrorStorage).
    bool start();

    /// Asks the thread for another state. Returns true on error: the thread is not started, or is to stop, which
    /// nothing takes back (the reason is in ipl::ErrorStorage).
    bool requestStateChange(State state);
    State getRequestedState() const { return m_requested; }

    void requestStop() { request(State::stop); }
    bool stopRequested() const { return m_requested == State::stop; }

    /// Waits while the given state is requested.
    void enterPause(State whileRequested) const;

    /// Waits for this time, or until something else than running is requested.
    void sleep(std::chrono::microseconds time) const;

    /// A runnable's descriptor to wait on: readable while something else than running is requested. Negative when the
    /// system had none left.
    int stateDescriptor() const { return m_stateDescriptor; }

    /// Waits for the function to return; at once when the thread was never started or is joined already. Returns true
    /// on error: the thread cannot join itself (the reason is in ipl::ErrorStorage).
    bool join();

private:
    void request(State state);

    std::string m_name;
    std::function<void()> m_function;
    mutable osal::Mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::atomic<State> m_requested{State::run};
    int m_stateDescriptor = -1;
    std::thread m_thread;
};

} // namespace util
