#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace util {

/// A thread with a name that `ps -L` and a debugger show. It runs one function once.
///
/// start, requestStop and join are called by the owner; the function asks stopRequested. Waking a function that waits
/// is the owner's business, since only the owner knows on what it waits. The destructor asks for the stop and joins.
class Thread
{
public:
    /// The name is cut at 15 characters, the most that Linux keeps. Nothing runs before start.
    Thread(std::string name, std::function<void()> function);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread. Returns true on error: no thread to be had, or started and not joined yet (the reason is in
    /// ipl::ErrorStorage).
    bool start();

    void requestStop() { m_stopRequested = true; }
    bool stopRequested() const { return m_stopRequested; }

    /// Waits for the function to return; at once when the thread was never started or is joined already. Returns true
    /// on error: the thread cannot join itself (the reason is in ipl::ErrorStorage).
    bool join();

private:
    std::string m_name;
    std::function<void()> m_function;
    std::atomic<bool> m_stopRequested{false};
    std::thread m_thread;
};

} // namespace util
