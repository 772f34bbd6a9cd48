#include "PcapngFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <fcntl.h>
#include <iterator>
#include <span>
#include <system_error>
#include <unistd.h>

namespace core_monitor {
namespace {

constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr std::uint32_t kInterfaceDescription = 1;
constexpr std::uint32_t kEnhancedPacket = 6;

constexpr std::uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr std::uint16_t kLinkTypeUser0 = 147;
constexpr std::uint16_t kTimeResolutionOption = 9;
constexpr std::uint8_t kNanoseconds = 9;
constexpr std::size_t kMostOfABlock = 0xFFFF; ///< a packet stores its sizes in two bytes

/// Numbers are in native byte order, which the section header indicates.
class Bytes
{
public:
    template <typename T>
    Bytes& number(T value)
    {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&value);
        std::copy_n(bytes, sizeof value, std::back_inserter(m_bytes));
        return *this;
    }
    Bytes& bigEndian(std::size_t value)
    {
        m_bytes.push_back(static_cast<std::uint8_t>(value >> 8));
        m_bytes.push_back(static_cast<std::uint8_t>(value));
        return *this;
    }
    Bytes& bytes(std::span<const std::uint8_t> bytes)
    {
        std::copy(bytes.begin(), bytes.end(), std::back_inserter(m_bytes));
        return *this;
    }
    Bytes& pad()
    {
        m_bytes.resize((m_bytes.size() + 3) & ~std::size_t{3});
        return *this;
    }
    const std::vector<std::uint8_t>& all() const { return m_bytes; }

private:
    std::vector<std::uint8_t> m_bytes;
};

std::vector<std::uint8_t> packetOf(const ReceivedEvent& event)
{
    const auto frame = event.frameBytes.first(std::min(event.frameBytes.size(), kMostOfABlock));
    const auto timestamp = event.timestampBytes.first(std::min(event.timestampBytes.size(), kMostOfABlock));
    return Bytes{}
        .bigEndian(event.payload->eventId)
        .bigEndian(frame.size())
        .bigEndian(timestamp.size())
        .bigEndian(0)
        .bytes(frame)
        .bytes(timestamp)
        .bytes(event.contextBytes)
        .all();
}

} // namespace

PcapngFile::PcapngFile(const std::string& path)
    : m_descriptor{::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)}
{
    const auto section =
        Bytes{}.number(kByteOrderMagic).number(std::uint16_t{1}).number(std::uint16_t{0}).number(std::int64_t{-1});
    const auto interface = Bytes{}
                               .number(kLinkTypeUser0)
                               .number(std::uint16_t{0})
                               .number(std::uint32_t{0})
                               .number(kTimeResolutionOption)
                               .number(std::uint16_t{sizeof kNanoseconds})
                               .number(kNanoseconds)
                               .pad()
                               .number(std::uint32_t{0});
    if (m_descriptor < 0 || put(kSectionHeader, section.all()) != 0 || put(kInterfaceDescription, interface.all()) != 0)
    {
        throw std::system_error{errno, std::generic_category(), path};
    }
}

PcapngFile::~PcapngFile()
{
    ::close(m_descriptor);
}

int PcapngFile::write(const ReceivedEvent& event)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto nanoseconds =
        static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
    const auto packet = packetOf(event);
    return put(kEnhancedPacket, Bytes{}
                                    .number(std::uint32_t{0})
                                    .number(static_cast<std::uint32_t>(nanoseconds >> 32))
                                    .number(static_cast<std::uint32_t>(nanoseconds))
                                    .number(static_cast<std::uint32_t>(packet.size()))
                                    .number(static_cast<std::uint32_t>(packet.size()))
                                    .bytes(packet)
                                    .pad()
                                    .all());
}

int PcapngFile::put(std::uint32_t blockType, const std::vector<std::uint8_t>& body) const
{
    constexpr std::size_t kAround = 12; // the type, and the length before and after the body
    const auto length = static_cast<std::uint32_t>(body.size() + kAround);
    const auto block = Bytes{}.number(blockType).number(length).bytes(body).number(length).all();
    for (std::span<const std::uint8_t> rest{block}; !rest.empty();) {
        const auto written = ::write(m_descriptor, rest.data(), rest.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        rest = rest.subspan(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return 0;
}

} // namespace core_monitor
