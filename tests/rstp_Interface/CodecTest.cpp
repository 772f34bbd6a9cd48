#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <optional>

#include "CapturedLog.h"
#include "IDS_Event/CInterface.h"
#include "IplLogger.h"
#include "RstpChannel.h"

namespace {

using test_support::CapturedLog;
using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

struct CodecTest : testing::Test, IIDS_EventIncoming
{
    void onConnectionStateChanged(bool) override {}
    void onIdsEvent(Bytes bytes) override { payload = std::move(bytes); }

    /// The payload that the frame delivers, nothing when it delivers none.
    std::optional<Bytes> decode(const Bytes& frame)
    {
        payload.reset();
        codec.evaluateMsg(frame);
        return payload;
    }

    /// The lines that the frame leaves in the log.
    Texts lines(const Bytes& frame)
    {
        const CapturedLog log;
        decode(frame);
        Texts texts;
        for (const auto& line : log.lines()) {
            EXPECT_EQ(line.channel, "CON_COMMON_RSTP");
            EXPECT_EQ(line.level, tracing::Level::error);
            texts.push_back(line.text);
        }
        return texts;
    }

    const CapturedLog silence;
    const IplLogger logger{s_rstpChannel};
    std::optional<Bytes> payload;
    IDS_Event::CInterface codec{{}, logger, *this};
};

constexpr auto kNotFound =
    "readParsedBuffer(263): ERROR (DECODING): Expected Parameter ID: '2' not Found. Returning Default Value.";
constexpr auto kCorrupted = "decodeMsg(411): ERROR (DECODING): Unable to Decode Parameters. Corrupted Frame Detected.";
constexpr auto kBadLength =
    "extractParamPositions(54): Decoding RSTP message failed: incorrect megs_len! (channel: 33)";

TEST_F(CodecTest, ParameterTwoIsDeliveredWhateverItsWireTypeAndPlace)
{
    EXPECT_EQ(decode({1, 5, 0x14, 3, 0xAA, 0xBB, 0xCC}), (Bytes{0xAA, 0xBB, 0xCC}));
    EXPECT_EQ(decode({1, 0x40, 5, 0x14, 3, 1, 2, 3}), (Bytes{1, 2, 3})) << "length in two bytes";
    EXPECT_EQ(decode({1, 0x80, 0, 0, 4, 0x14, 0x40, 1, 9}), (Bytes{9})) << "length in four and in two";
    EXPECT_EQ(decode({1, 0xC0, 0, 0, 0, 0, 0, 0, 2, 0x14, 0}), Bytes{}) << "length in eight, value empty";
    EXPECT_EQ(decode({1, 7, 0x14, 1, 1, 0x10, 2, 0x0C, 0}), (Bytes{1})) << "the first of two";
    EXPECT_EQ(decode({1, 2, 0x10, 7}), (Bytes{7}));
    EXPECT_EQ(decode({1, 3, 0x11, 7, 8}), (Bytes{7, 8}));
    EXPECT_EQ(decode({1, 5, 0x12, 1, 2, 3, 4}), (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(decode({1, 9, 0x13, 1, 2, 3, 4, 5, 6, 7, 8}), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    Bytes large{1, 0x4F, 0xFD, 0x14, 0x4F, 0xFA};
    large.resize(4096, 0x5A);
    EXPECT_EQ(decode(large), Bytes(4090, 0x5A));
}

TEST_F(CodecTest, AnIdsEventWithoutSoundParametersIsDeliveredEmpty)
{
    EXPECT_THAT(lines({1, 0}), ElementsAre(kNotFound));
    EXPECT_EQ(payload, Bytes{});
    EXPECT_THAT(lines({1, 0, 0xFF}), ElementsAre(kNotFound));
    EXPECT_THAT(lines({1, 2, 0x08, 1}), ElementsAre(kNotFound)) << "another parameter";

    const auto wireType = "decodeMsg(397): ERROR (DECODING): Invalid Wire Type or Wire Type not defined: 5";
    EXPECT_THAT(lines({1, 5, 0x10, 1, 0x15, 1, 1}), ElementsAre(wireType, kCorrupted, kNotFound));
    EXPECT_EQ(payload, Bytes{});
    for (const auto& frame :
         {Bytes{1, 3, 0x14, 2, 1}, Bytes{1, 1, 0x14}, Bytes{1, 2, 0x14, 0x40}, Bytes{1, 5, 0x10, 1, 0x12, 1, 1},
          Bytes{1, 1, 0x10}, Bytes{1, 9, 0x14, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}})
    {
        EXPECT_THAT(lines(frame), ElementsAre(kCorrupted, kNotFound));
        EXPECT_EQ(payload, Bytes{});
    }
}

TEST_F(CodecTest, OtherFramesAreDroppedAndDumped)
{
    EXPECT_THAT(lines({}), ElementsAre("evaluateMsg(94): ERROR: Message buffer is empty"));
    EXPECT_THAT(lines({1}), ElementsAre(kBadLength, "logCorruptedBuf(52): Corrupted buf: 01"));
    EXPECT_THAT(lines({1, 6, 1, 2, 3, 4, 5}),
                ElementsAre("extractMsg(475): Message length mismatch! Expected=6, received=5", kBadLength,
                            "logCorruptedBuf(52): Corrupted buf: 01 06 01 02 03 04 05"));
    EXPECT_THAT(lines({1, 0x40, 0}), ElementsAre(kBadLength, "logCorruptedBuf(52): Corrupted buf: 01 40 00"));
    Bytes unknown{7, 20, 0x14, 18};
    unknown.resize(22, 0xAB);
    EXPECT_THAT(lines(unknown),
                ElementsAre("evaluateMsg(117): ERROR (DECODING): Unknown message-id: 7 (channel: 33)",
                            "logCorruptedBuf(52): Corrupted buf: 07 14 14 12 AB AB AB AB AB AB AB AB AB AB AB AB AB AB "
                            "AB AB"));
    EXPECT_FALSE(payload);
}

/// Longer than any text line may be.
TEST_F(CodecTest, ALineIsCutAndNeverForged)
{
    const CapturedLog log;
    logger.error("a\nb%s", std::string(3000, 'x').c_str());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].text, "a?b" + std::string(1020, 'x'));
}

// Every frame of three bytes but under a sanitizer, which takes its time.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint32_t kStep = 127;
#else
constexpr std::uint32_t kStep = 1;
#endif

// What a frame delivers according to a second, slower reading of the format.
std::optional<Bytes> expected(const Bytes& frame)
{
    if (frame.size() < 2 || frame[0] != 1) {
        return std::nullopt;
    }
    if (frame[1] == 0) {
        return Bytes{};
    }
    auto rest = frame;
    const auto take = [&rest](std::size_t count) {
        const Bytes head{rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count)};
        rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count));
        return head;
    };
    const auto length = [&]() -> std::optional<std::uint64_t> {
        if (rest.empty() || rest.size() < std::size_t{1} << rest[0] / 64) {
            return std::nullopt;
        }
        const auto bytes = take(std::size_t{1} << rest[0] / 64);
        std::uint64_t value = bytes[0] % 64;
        for (auto byte = bytes.begin() + 1; byte != bytes.end(); ++byte) {
            value = value * 256 + *byte;
        }
        return value;
    };
    take(1);
    if (const auto size = length(); !size || *size == 0 || *size != rest.size()) {
        return std::nullopt;
    }
    std::optional<Bytes> found;
    while (!rest.empty()) {
        const auto tag = take(1)[0];
        const auto size = tag % 8 < 4 ? std::optional{std::uint64_t{1} << tag % 8} : length();
        if (tag % 8 > 4 || !size || *size > rest.size()) {
            return Bytes{};
        }
        const auto value = take(*size);
        found = tag / 8 == 2 && !found ? value : found;
    }
    return found.value_or(Bytes{});
}

TEST_F(CodecTest, EveryShortFrameAndEveryLengthIsReadAsTheFormatSays)
{
    tracing::setThresholds("*=9");
    Bytes frame;
    ASSERT_EQ(decode(frame), std::nullopt);
    for (std::uint32_t size = 1; size <= 3; ++size) {
        frame.resize(size);
        for (std::uint32_t number = 0; number >> 8 * size == 0; number += size < 3 ? 1 : kStep) {
            for (std::uint32_t i = 0; i < size; ++i) {
                frame[i] = static_cast<std::uint8_t>(number >> 8 * i);
            }
            if (decode(frame) != expected(frame)) {
                FAIL() << testing::PrintToString(frame);
            }
        }
    }
    for (unsigned first = 0; first < 256; ++first) {
        for (std::size_t size = 2; size < 300; ++size) {
            frame.assign(size, static_cast<std::uint8_t>(first));
            ASSERT_EQ(decode(frame), expected(frame)) << first << ' ' << size;
            frame[0] = 1;
            frame[1] = static_cast<std::uint8_t>(size - 2);
            ASSERT_EQ(decode(frame), expected(frame)) << first << ' ' << size;
        }
    }
}

TEST_F(CodecTest, CorpusOfTheFuzzerIsReadAsTheFormatSays)
{
    std::size_t delivered = 0;
    for (const auto& entry : std::filesystem::directory_iterator{FUZZ_CORPUS}) {
        std::ifstream file{entry.path(), std::ios::binary};
        const Bytes frame{std::istreambuf_iterator<char>{file}, {}};
        EXPECT_EQ(decode(frame), expected(frame)) << entry.path();
        delivered += payload.has_value() ? 1 : 0;
    }
    EXPECT_GT(delivered, 0U);
}

} // namespace
