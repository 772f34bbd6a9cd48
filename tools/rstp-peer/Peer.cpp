#include "Peer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <poll.h>
#include <unistd.h>

#include "Options.h"

namespace rstp_peer {
namespace {

constexpr int kFramesInARow = 64; // then signals are looked at again
constexpr std::chrono::milliseconds kReadCheck{10};

timespec untilTime(Clock::time_point time)
{
    using std::chrono::nanoseconds;
    const auto left = std::max<nanoseconds>(time - Clock::now(), nanoseconds{0}).count();
    return {left / 1'000'000'000, left % 1'000'000'000};
}

} // namespace

Peer::Peer(const Options& options, PeerSocket& socket, int signals)
    : m_options{options}, m_socket{socket}, m_signals{signals}, m_source{sourceOf(options)}
{
    if (options.readsInput) {
        m_input.emplace(STDIN_FILENO);
    }
}

void Peer::run()
{
    while (!m_isEnding && !(m_options.exits && isAllSent() && !m_socket.hasUnread())) {
        wait();
        readTyped();
        sendTyped();
        sendDue();
        loseDue();
    }
}

void Peer::wait()
{
    const auto wanted = static_cast<short>(m_isFull ? POLLIN | POLLOUT : POLLIN);
    std::array<pollfd, 3> ready{{{m_socket.descriptor(), wanted, 0},
                                 {m_signals, POLLIN, 0},
                                 {readsInput() ? m_input->descriptor() : -1, POLLIN, 0}}};
    const auto wake = wakeTime();
    const auto patience = untilTime(wake.value_or(Clock::time_point{}));
    if (ppoll(ready.data(), ready.size(), wake ? &patience : nullptr, nullptr) <= 0) {
        return;
    }
    m_isEnding = ready[1].revents != 0;
    if (ready[2].revents != 0) {
        m_input->read();
    }
    handleSocket(ready[0].revents);
}

void Peer::handleSocket(short events)
{
    if (!m_socket.hasClient()) {
        if (events != 0) {
            greet();
        }
        return;
    }
    if ((events & POLLOUT) != 0) {
        m_isFull = false;
    }
    if ((events & ~POLLOUT) != 0) {
        m_socket.hear();
        if (!m_socket.hasClient()) {
            say("client gone");
        }
    }
}

void Peer::greet()
{
    m_socket.accept();
    if (!m_socket.hasClient()) {
        return;
    }
    say("client connected");
    ++m_connections;
    m_isFull = false;
    if (m_source.hasBegun()) {
        m_lost += m_source.skipDue(Clock::now());
    } else {
        m_source.begin(Clock::now());
    }
}

void Peer::readTyped()
{
    while (m_input && m_source.hasBegun() && !m_typed) {
        const auto line = m_input->next();
        if (!line) {
            return;
        }
        auto frame = fromHexLine(*line);
        if (!frame || frame->size() > kLargestFrame) {
            say("\"" + line->substr(0, 60) + "\" is not a frame in hex such as 01 05 14 03 AA BB CC");
        } else if (!frame->empty()) {
            m_typed = std::move(frame);
            sendTyped();
        }
    }
}

void Peer::sendTyped()
{
    if (!m_typed) {
        return;
    }
    if (!m_socket.hasClient()) {
        say("nobody is connected, the frame is lost");
        ++m_lost;
        m_typed.reset();
    } else if (!m_isFull && trySend(*m_typed)) {
        m_typed.reset();
    }
}

void Peer::sendDue()
{
    for (int turn = 0; turn < kFramesInARow; ++turn) {
        if (m_isFull || !m_socket.hasClient() || !m_source.isDue(Clock::now()) || !trySend(m_source.front())) {
            return;
        }
        m_source.pop();
    }
}

bool Peer::trySend(const Bytes& frame)
{
    const auto outcome = m_socket.send(frame);
    m_isFull = outcome == PeerSocket::Outcome::full;
    if (outcome == PeerSocket::Outcome::gone) {
        say("client gone");
    }
    if (outcome != PeerSocket::Outcome::sent) {
        return false;
    }
    ++m_sent;
    m_sentBytes += frame.size();
    if (frame.size() > kMostRead && !m_hasWarned) {
        say("warning: a frame of " + std::to_string(frame.size()) + " bytes, of which the daemon reads the first " +
            std::to_string(kMostRead));
        m_hasWarned = true;
    }
    if (m_options.verbose) {
        say("sent " + std::to_string(frame.size()) + " bytes: " + toHex(frame));
    }
    return true;
}

void Peer::loseDue()
{
    if (!m_socket.hasClient()) {
        m_lost += m_source.skipDue(Clock::now());
    }
}

bool Peer::isAllSent() const
{
    return m_source.hasBegun() && m_source.isExhausted() && !m_typed && (!m_input || m_input->isOver());
}

std::optional<Clock::time_point> Peer::wakeTime() const
{
    if (m_source.isExhausted()) {
        return m_options.exits && isAllSent() ? std::optional{Clock::now() + kReadCheck} : std::nullopt;
    }
    if (!m_socket.hasClient()) {
        return m_options.exits ? m_source.lastTime() : std::nullopt;
    }
    return m_isFull ? std::nullopt : m_source.nextTime();
}

std::string Peer::summary() const
{
    return "frames: " + std::to_string(m_sent) + " sent (" + std::to_string(m_sentBytes) + " bytes), " +
           std::to_string(m_lost) + " lost; connections: " + std::to_string(m_connections);
}

void say(std::string_view text)
{
    std::fprintf(stderr, "rstp-peer: %.*s\n", static_cast<int>(text.size()), text.data());
}

} // namespace rstp_peer
