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
/// requested state in good time. A function that waits does so in sleep or enterPause, or watches stateDescriptor, and
/// is thus woken by a request; what else it may wait for is ended by onStop. The destructor asks for the stop and
/// joins.
class Thread
{
public:
    enum class State : std::uint8_t
    {
        run = 0,
        pause = 1,
        stop = 2
    };

    /// The name is cut at 15 characters, the most that Linux keeps. Nothing runs before start. onStop is called by each
    /// request to stop the started thread, on the requesting thread.
    Thread(std::string name, std::function<void()> function, std::function<void()> onStop = {});

    /// As above; the runnable is given this thread.
    Thread(std::string name, IRunnableT<Thread const* const>& runnable, std::function<void()> onStop = {});
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread; one whose function has returned starts again. Returns true on error: the system has no thread
    /// or descriptor left, or the function is running (the reason is in ipl::ErrorStorage).
    bool start();

    /// Whether the function has been started and has not returned.
    bool running() const { return m_running; }

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

    /// A descriptor to wait on: readable while something else than running is requested. A started thread always has
    /// it; before, the result is negative, with the reason in errno, when the system has none left.
    int stateDescriptor() const;

    /// Waits for the function to return; at once when the thread was never started or is joined already. Returns true
    /// on error: the thread cannot join itself (the reason is in ipl::ErrorStorage).
    bool join();

private:
    void request(State state);

    std::string m_name;
    std::function<void()> m_function;
    std::function<void()> m_onStop;
    mutable osal::Mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::atomic<State> m_requested{State::run};
    std::atomic<bool> m_running{false};
    mutable int m_stateDescriptor = -1; ///< made when it is first asked for
    std::thread m_thread;
};

} // namespace util
