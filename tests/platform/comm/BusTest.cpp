#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <mutex>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "comm/Service.h"
#include "ipl/ErrorStorage.h"
#include "util/CITypesFactory.h"

namespace {

using namespace test_support;
using testing::HasSubstr;

enum class Colour : std::uint32_t
{
    red = 0,
    blue = 1
};

constexpr comm::EnumLimit enumLimit(Colour)
{
    return {"Colour", 1};
}

struct Stone
{
    std::string name;
    UInt8Array grains;
    Colour colour;
    std::vector<std::uint16_t> sizes;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("name", &Stone::name), comm::field("grains", &Stone::grains),
                          comm::field("colour", &Stone::colour), comm::field("sizes", &Stone::sizes)};
    }
};

struct Quarry
{
    virtual ~Quarry() = default;
    virtual void bring(const util::SharedPtr<Stone>& stone, const comm::Nullable<std::vector<std::uint8_t>>& dust) = 0;
};

struct QuarryReply
{
    virtual ~QuarryReply() = default;
    virtual void brought(const std::string& text, std::uint64_t number) = 0;
    virtual void updateDepth(const util::SharedPtr<Stone>& deepest, bool isValid) = 0;
};

struct QuarryDescription
{
    static constexpr std::string_view name = "test.Quarry";
    using Requests = Quarry;
    using Reply = QuarryReply;
    static constexpr auto requests = std::tuple{comm::method<&Quarry::bring>(7, "bring", "stone", "dust")};
    static constexpr auto replies = std::tuple{comm::method<&QuarryReply::brought>(3, "brought", "text", "number")};
    static constexpr auto attributes =
        std::tuple{comm::attribute<&QuarryReply::updateDepth>(8, "Depth", "updateDepth")};
};

/// Answers every stone that is brought, to the client that connected last.
struct Service : comm::Service<QuarryDescription>
{
    using comm::Service<QuarryDescription>::registerInstance;
    using comm::Service<QuarryDescription>::unregisterInstance;

    ~Service() override { unregisterInstance(); }

    void bring(const util::SharedPtr<Stone>& stone, const comm::Nullable<std::vector<std::uint8_t>>& dust) override
    {
        last = stone;
        client.call<&QuarryReply::brought>((stone ? stone->name : "none") + (dust ? " dusty" : ""), std::uint64_t{42});
    }
    void setDepth(const util::SharedPtr<Stone>& deepest) { setAttribute<&QuarryReply::updateDepth>(deepest); }
    void clientConnected(const Reply& reply) override { client = reply; }
    void clientDisconnected(const Reply&) override { ++disconnections; }

    Reply client;
    util::SharedPtr<Stone> last;
    std::atomic<int> disconnections{0};
};

using Heard = std::vector<std::string>;

/// The other side, on an active object and thus a connection of its own.
class Peer : public QuarryReply, public comm::LifecycleListener
{
public:
    bool connect() { return m_proxy.connect(); }
    void subscribe()
    {
        m_activeObject.run([&] { m_proxy.requestNotifications(); });
    }
    bool bring(const util::SharedPtr<Stone>& stone, const comm::Nullable<std::vector<std::uint8_t>>& dust = {})
    {
        bool accepted = false;
        m_activeObject.run([&] { accepted = m_proxy.call<&Quarry::bring>(stone, dust); });
        return accepted;
    }

    // Waits until that and nothing else has arrived.
    bool hears(const Heard& expected)
    {
        return eventually([&] {
            const std::lock_guard lock{m_mutex};
            return m_heard == expected;
        });
    }

private:
    void brought(const std::string& text, std::uint64_t number) override { hear(text + std::to_string(number)); }
    void updateDepth(const util::SharedPtr<Stone>& deepest, bool isValid) override
    {
        hear((deepest ? deepest->name : "nothing") + (isValid ? " valid" : " invalid"));
    }
    void alive(const comm::Lifecycle& lifecycle) override { hear(lifecycle.instanceId + " is alive"); }
    void dead(const comm::Lifecycle&, const comm::DeathNotice& notice) override
    {
        hear(notice.reason == comm::DeathNotice::died ? "died" : "bus lost");
    }
    void hear(const std::string& text)
    {
        const std::lock_guard lock{m_mutex};
        m_heard.push_back(text);
    }

    TestActiveObject m_activeObject;
    std::mutex m_mutex;
    Heard m_heard;
    comm::ServiceProxy<QuarryDescription> m_proxy{1, m_activeObject.factory(), *this, *this};
};

const std::string kAlive = "test.Quarry.instance1 is alive";

util::SharedPtr<Stone> stone(const std::string& name)
{
    const std::vector<std::uint8_t> grains{7, 7, 7};
    return std::make_shared<Stone>(
        Stone{name, std::make_shared<std::vector<std::uint8_t>>(grains), Colour::blue, {65535}});
}

std::string callQuarry(std::vector<std::string> words)
{
    words.insert(words.begin(),
                 {"busctl", "--system", "call", "test.Quarry.instance1", "/test/Quarry/1", "test.Quarry"});
    return outputOf(words);
}

struct BusTest : testing::Test
{
    CapturedLog log;
    TestBus bus;
    TestActiveObject activeObject;
    Service service;
    Peer peer;

    void registerService() { ASSERT_FALSE(service.registerInstance(1, activeObject.factory())); }
    void connect()
    {
        registerService();
        ASSERT_FALSE(peer.connect());
        ASSERT_TRUE(peer.hears({kAlive}));
    }
};

TEST_F(BusTest, EveryKindOfValueArrivesAsItWasSentAndIsAnswered)
{
    connect();
    ASSERT_TRUE(peer.bring(stone("granite")));
    ASSERT_TRUE(peer.hears({kAlive, "granite42"}));
    activeObject.run([&] {
        EXPECT_EQ(*service.last->grains, (std::vector<std::uint8_t>{7, 7, 7}));
        EXPECT_EQ(service.last->colour, Colour::blue);
        EXPECT_EQ(service.last->sizes, std::vector<std::uint16_t>{65535});
    });
    comm::Nullable<std::vector<std::uint8_t>> dust;
    static_cast<UInt8Array&>(dust) = CITypesFactory::createUInt8Array(0);
    ASSERT_TRUE(peer.bring({}, dust));
    EXPECT_TRUE(peer.hears({kAlive, "granite42", "none dusty42"}));
}

TEST_F(BusTest, ServicesAndTheBusMayComeAndGoInAnyOrder)
{
    bus.kill();
    registerService();
    EXPECT_TRUE(peer.connect());
    EXPECT_THAT(ipl::ErrorStorage::reason(), HasSubstr("cannot connect to test.Quarry.instance1"));
    ipl::ErrorStorage::ack();
    bus.start();
    ASSERT_TRUE(eventually([&] { return !peer.connect(); }));
    ASSERT_TRUE(peer.hears({kAlive}));
    service.unregisterInstance();
    ASSERT_TRUE(peer.hears({kAlive, "died"}));
    EXPECT_EQ(service.disconnections, 1);
    EXPECT_FALSE(peer.bring(stone("late")));
    ASSERT_FALSE(peer.connect());
    registerService();
    ASSERT_TRUE(peer.hears({kAlive, "died", kAlive}));
    bus.kill();
    ASSERT_TRUE(peer.hears({kAlive, "died", kAlive, "bus lost"}));
    ASSERT_TRUE(eventually([&] { return service.disconnections == 2; }));
    activeObject.run([&] { EXPECT_FALSE(service.client.isAlive()); });
    bus.start();
    ASSERT_TRUE(eventually([&] { return !peer.connect(); }));
    EXPECT_TRUE(peer.hears({kAlive, "died", kAlive, "bus lost", kAlive}));
}

TEST_F(BusTest, ATakenNameRefusesTheRegistrationAndLeavesRoomForAnother)
{
    registerService();
    TestActiveObject other;
    Service second;
    EXPECT_TRUE(second.registerInstance(1, other.factory()));
    EXPECT_EQ(ipl::ErrorStorage::code(), static_cast<std::uint32_t>(EADDRINUSE));
    ipl::ErrorStorage::ack();
    EXPECT_FALSE(second.registerInstance(2, other.factory()));
}

TEST_F(BusTest, ABadCallGetsAnErrorAndALineAndNothingIsRun)
{
    registerService();
    EXPECT_THAT(callQuarry({"bring", "s", "heavy"}), HasSubstr("the arguments are \"a(sayuaq)aay\""));
    EXPECT_THAT(callQuarry({"bring", "a(sayuaq)aay", "1", "a", "0", "2", "0", "0"}), HasSubstr("Colour"));
    EXPECT_THAT(callQuarry({"bring", "a(sayuaq)aay", "0", "2", "0", "0"}), HasSubstr("more than one value"));
    EXPECT_THAT(callQuarry({"dig"}), HasSubstr("dig"));
    EXPECT_THAT(callQuarry({"requestNotification", "u", "8"}), HasSubstr("call connect first"));
    EXPECT_FALSE(service.last);
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::warning, "is refused: "), 4U);
}

TEST_F(BusTest, UpdatesOfAnAttributeReachItsSubscribersAndCanBeRead)
{
    connect();
    activeObject.run([&] { service.setDepth(stone("slate")); });
    peer.subscribe();
    ASSERT_TRUE(peer.hears({kAlive, "slate valid"})) << "no update before the subscription";
    activeObject.run([&] { service.setDepth(nullptr); });
    ASSERT_TRUE(peer.hears({kAlive, "slate valid", "nothing valid"}));
    EXPECT_EQ(outputOf({"busctl", "--system", "get-property", "test.Quarry.instance1", "/test/Quarry/1", "test.Quarry",
                        "Depth"}),
              "(a(sayuaq)b) 0 true\n");
}

TEST_F(BusTest, SignalsOfAnybodyButTheServiceAreNotTaken)
{
    connect();
    const auto names = outputOf({"busctl", "--system", "list", "--unique", "--no-legend"});
    for (std::size_t at = 0; (at = names.find(":1.", at)) != std::string::npos; ++at) {
        const auto name = names.substr(at, names.find(' ', at) - at);
        outputOf({"busctl", "--system", "emit", "--destination=" + name, "/test/Quarry/1", "test.QuarryReply",
                  "brought", "st", "forged", "42"});
        outputOf({"busctl", "--system", "emit", "--destination=" + name, "/org/freedesktop/DBus",
                  "org.freedesktop.DBus", "NameOwnerChanged", "sss", "test.Quarry.instance1", name, ""});
    }
    ASSERT_TRUE(peer.bring(stone("real")));
    EXPECT_TRUE(peer.hears({kAlive, "real42"}));
}

TEST_F(BusTest, ABusThatDoesNotReadMakesSendingFailAndNotTheMemoryGrow)
{
    connect();
    ASSERT_EQ(kill(bus.pid(), SIGSTOP), 0);
    const std::string text(4000, 'x');
    Heard expected{kAlive};
    activeObject.run([&] {
        while (expected.size() < 100'000 && service.client.call<&QuarryReply::brought>(text, std::uint64_t{42})) {
            expected.push_back(text + "42");
        }
    });
    EXPECT_LT(expected.size(), 5'000U);
    ASSERT_EQ(kill(bus.pid(), SIGCONT), 0);
    EXPECT_TRUE(peer.hears(expected)) << "what was accepted arrives";
}

} // namespace
