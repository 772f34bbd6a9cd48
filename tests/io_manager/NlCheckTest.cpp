#include "io_manager/NlCheck.h"

#include <cerrno>
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "CapturedLog.h"

using common_::checkMessages;
using test_support::CapturedLog;

namespace {

constexpr std::uint32_t kSequence = 7;
constexpr std::uint32_t kPort = 4711;

class Datagram
{
public:
    Datagram& message(std::uint16_t type, std::vector<std::uint8_t> payload, std::uint32_t sequence = kSequence,
                      std::uint32_t port = kPort)
    {
        const nlmsghdr header{static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size()), type, 0, sequence, port};
        const auto start = bytes.size();
        bytes.resize(start + NLMSG_ALIGN(header.nlmsg_len));
        std::memcpy(bytes.data() + start, &header, sizeof header);
        std::copy(payload.begin(), payload.end(), bytes.begin() + static_cast<std::ptrdiff_t>(start + sizeof header));
        return *this;
    }
    Datagram& error(int code)
    {
        std::vector<std::uint8_t> payload(sizeof(nlmsgerr));
        std::memcpy(payload.data(), &code, sizeof code);
        return message(NLMSG_ERROR, payload);
    }

    std::vector<std::uint8_t> bytes;
};

TEST(NlCheckTest, DumpIsSplitIntoItsResponsesItsEndAndTheRest)
{
    CapturedLog log;
    const auto datagram = Datagram{}
                              .message(16, {1, 2, 3, 4, 5})
                              .message(20, {9}, kSequence - 1)
                              .message(16, {})
                              .message(NLMSG_DONE, {0, 0, 0, 0})
                              .bytes;
    const auto check = checkMessages(datagram, kSequence, kPort);
    EXPECT_EQ(check.result, 1);
    ASSERT_EQ(check.responses.size(), 2U);
    EXPECT_EQ(check.responses[0]->nlmsg_len, 21U);
    ASSERT_EQ(check.unsolicited.size(), 1U);
    EXPECT_EQ(check.unsolicited[0]->nlmsg_type, 20);
    ASSERT_NE(check.end, nullptr);
    EXPECT_EQ(check.end->nlmsg_type, NLMSG_DONE);
    EXPECT_EQ(log.count("CON_LIB_NLREQ", tracing::Level::progress, "counted urc:1, msg:2 (off:80)"), 1U);
}

TEST(NlCheckTest, AcknowledgementIsAResponseAndRefusalIsTheResult)
{
    CapturedLog log;
    const auto accepted = Datagram{}.error(0).bytes;
    EXPECT_EQ(checkMessages(accepted, kSequence, kPort).result, 0);
    EXPECT_EQ(checkMessages(accepted, kSequence, kPort).responses.size(), 1U);

    const auto refused = Datagram{}.error(-EPERM).bytes;
    const auto check = checkMessages(refused, kSequence, kPort);
    EXPECT_EQ(errno, EPERM);
    EXPECT_EQ(check.result, -1);
    EXPECT_TRUE(check.responses.empty());
    EXPECT_TRUE(log.waitFor("-1 (Operation not permitted)"));

    const auto truncated = Datagram{}.message(NLMSG_ERROR, {0, 0, 0, 0}).bytes;
    EXPECT_EQ(checkMessages(truncated, kSequence, kPort).result, -1);
    EXPECT_TRUE(log.waitFor("truncated"));
}

TEST(NlCheckTest, NumbersOfOthersDoNotMakeANotificationAnAnswer)
{
    CapturedLog log;
    const auto foreign = Datagram{}.message(20, {}, kSequence, kPort + 1).bytes;
    EXPECT_EQ(checkMessages(foreign, kSequence, kPort).unsolicited.size(), 1U);
    const auto kernels = Datagram{}.message(20, {}, 0, kPort).bytes;
    EXPECT_EQ(checkMessages(kernels, 0, kPort).unsolicited.size(), 1U) << "nothing was asked for";
}

TEST(NlCheckTest, RandomBytesNeverLeadOutOfTheDatagram)
{
    std::mt19937 random{1};
    for (std::size_t round = 0; round < 20000; ++round) {
        std::vector<std::uint8_t> bytes(random() % 129);
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(random() % 4 == 0 ? random() : random() % 33);
        }
        const auto check = checkMessages(bytes, kSequence, kPort);
        for (const auto* const message : check.unsolicited) {
            const auto* const start = reinterpret_cast<const std::uint8_t*>(message);
            ASSERT_GE(message->nlmsg_len, sizeof(nlmsghdr));
            ASSERT_LE(start + message->nlmsg_len, bytes.data() + bytes.size());
        }
    }
}

} // namespace
