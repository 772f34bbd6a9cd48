#include "STimestamp.h"

#include "BlockCodec.h"

namespace ids {

void stamp(std::span<std::uint8_t> timestamp, std::uint64_t milliseconds)
{
    if (timestamp.size() < kTimestampSize) {
        return;
    }
    encode<kTimestamp>(timestamp.data(), toTimestamp(milliseconds));
}

} // namespace ids
