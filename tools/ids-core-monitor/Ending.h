#pragma once

#include <atomic>

namespace core_monitor {

/// The program's wish to end and its reason. Anybody may express it on any thread; the first reason stays.
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
        outputClosed, ///< nobody reads us any more
        outputFailed
    };

    /// Throws std::system_error when the system has no descriptor left.
    Ending();
    ~Ending();
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    void because(Reason reason);

    Reason reason() const { return m_reason.load(); }
    bool isNear() const { return reason() != Reason::none; }

    /// Readable from the first wish on.
    int descriptor() const { return m_descriptor; }

private:
    std::atomic<Reason> m_reason{Reason::none};
    const int m_descriptor;
};

} // namespace core_monitor
