#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "FrameSource.h"
#include "LineInput.h"
#include "PeerSocket.h"

namespace rstp_peer {

struct Options;

/// Serves one client after the other with the frames of a source and, from the first client on, with the frames of
/// standard input. Reports its state on standard error. Single-threaded.
class Peer
{
public:
    /// signals: readable when the program is to end.
    Peer(const Options& options, PeerSocket& socket, int signals);

    /// Runs until a signal arrives or, with the option exits, all has been sent and read.
    void run();

    /// One line without the newline.
    std::string summary() const;

private:
    void wait();
    void handleSocket(short events);
    void greet();
    void sendTyped();
    void sendDue();
    bool trySend(const Bytes& frame);
    void readTyped();
    void loseDue();
    bool readsInput() const { return m_input && m_input->isOpen() && m_source.hasBegun() && !m_typed; }
    bool isAllSent() const;
    std::optional<Clock::time_point> wakeTime() const;

    const Options& m_options;
    PeerSocket& m_socket;
    const int m_signals;
    FrameSource m_source;
    std::optional<LineInput> m_input;
    std::optional<Bytes> m_typed; // waits for a client that does not read
    bool m_isFull = false;
    bool m_isEnding = false;
    bool m_hasWarned = false;
    std::uint64_t m_sent = 0;
    std::uint64_t m_sentBytes = 0;
    std::uint64_t m_lost = 0;
    std::uint64_t m_connections = 0;
};

/// Prints a message of the program to standard error.
void say(std::string_view text);

} // namespace rstp_peer
