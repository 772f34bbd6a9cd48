#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace common_ {

/// Makes timers whose callbacks run on the active object of the factory's owner. All operations, also those of the
/// handles, are called on that active object.
class ISynchronizedTimerFactory
{
public:
    /// One one-shot timer. Destroying the handle removes the timer; its callback is not called after that. A handle
    /// does not outlive its factory, and its own callback does not destroy it.
    class TimerHandle
    {
    public:
        virtual ~TimerHandle() = default;

        /// Starts the interval from now on, also when the timer is running. An expiry that waits in the active object's
        /// queue is still delivered. Returns true.
        virtual bool start() = 0;

        /// Stops the timer. As with restart and modify, an expiry that waits in the active object's queue is dropped.
        virtual void stop() = 0;

        /// Starts the interval from now on, but leaves what isRunning returns as it was: for a timer that is started.
        virtual void restart() = 0;

        /// Gives the timer a new interval and starts it, whether or not it was running. With an interval that the
        /// platform refuses (a negative one) the timer is stopped.
        virtual void modify(std::chrono::milliseconds interval) = 0;

        /// Whether the timer was started and has neither expired nor been stopped since.
        virtual bool isRunning() = 0;
    };

    using TimerHandlePtr = std::unique_ptr<TimerHandle>;

    /// Receives the address of the TimerHandle that fired, so that one callback can serve several timers.
    using TimerCallback = std::function<void(void*)>;

    virtual ~ISynchronizedTimerFactory() = default;

    /// createTimer, and start when there is a timer.
    virtual TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, TimerCallback&& callback) = 0;
    virtual TimerHandlePtr createStartedTimer(std::chrono::milliseconds interval, const TimerCallback& callback) = 0;

    /// Makes a timer that is not running. Empty when the platform refuses it: negative interval, too many timers.
    virtual TimerHandlePtr createTimer(std::chrono::milliseconds interval, TimerCallback&& callback) = 0;
    virtual TimerHandlePtr createTimer(std::chrono::milliseconds interval, const TimerCallback& callback) = 0;

    /// Fire and forget: starts a timer that the factory keeps until its callback has run once, also when
    /// that throws.
    virtual void createFaFTimer(std::chrono::milliseconds interval, TimerCallback callback) = 0;
};

} // namespace common_
