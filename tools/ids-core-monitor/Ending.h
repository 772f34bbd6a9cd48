#pragma once

#include <atomic>

namespace core_monitor {

/// A request to end the program, and its reason. May be made on any thread; the first reason is kept.
class Ending
{
public:
    enum class Reason
    {
        none,
        signalled,
        enoughSeen,
        timeOver,
        noDaemon,
        outputClosed, ///< the reader of the output has closed it
        outputFailed
    };

    /// Throws std::system_error when no descriptor is available.
    Ending();
    ~Ending();
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    void because(Reason reason);

    Reason reason() const { return m_reason.load(); }
    bool isNear() const { return reason() != Reason::none; }

    /// Readable from the first request on.
    int descriptor() const { return m_descriptor; }

private:
    std::atomic<Reason> m_reason{Reason::none};
    const int m_descriptor;
};

} // namespace core_monitor
