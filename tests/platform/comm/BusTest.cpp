#include <atomic>
#include <csignal>
#include <gmock/gmock.h>
#include <mutex>
#include <string>
#include <vector>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "RecordedErrors.h"
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
    Colour colour = Colour::red;
    std::vector<std::uint16_t> sizes;
    bool round = false;

    static constexpr auto fields()
    {
        return std::tuple{comm::field("name", &Stone::name), comm::field("grains", &Stone::grains),
                          comm::field("colour", &Stone::colour), comm::field("sizes", &Stone::sizes),
                          comm::field("round", &Stone::round)};
    }
};

class Quarry
{
public:
    virtual ~Quarry() = default;
    virtual void bring(const util::SharedPtr<Stone>& stone, const comm::Nullable<std::vector<std::uint8_t>>& dust) = 0;
    virtual comm::Result<double> weigh(std::int64_t grams) = 0;
};

class QuarryReply
{
public:
    virtual ~QuarryReply() = default;
    virtual void brought(const std::string& text, std::uint64_t number) = 0;
    virtual void updateDepth(const util::SharedPtr<Stone>& deepest, bool isValid) = 0;
};

struct QuarryDescription
{
    static constexpr std::string_view name = "test.Quarry";
    using Requests = Quarry;
    using Reply = QuarryReply;
    static constexpr auto requests = std::tuple{comm::method<&Quarry::bring>(7, "bring", "stone", "dust"),
                                                comm::method<&Quarry::weigh>(9, "weigh", "grams")};
    static constexpr auto replies = std::tuple{comm::method<&QuarryReply::brought>(3, "brought", "text", "number")};
    static constexpr auto attributes =
        std::tuple{comm::attribute<&QuarryReply::updateDepth>(8, "Depth", "updateDepth")};
};

struct ForbiddenDescription : QuarryDescription
{
    static constexpr std::string_view name = "not.for.you";
};

/// Answers every stone that is brought, to the client that connected last.
template <typename Description>
class QuarryService : public comm::Service<Description>
{
public:
    using Base = comm::Service<Description>;
    using Base::registerInstance;
    using Base::unregisterInstance;
    using typename Base::Reply;

    ~QuarryService() override { unregisterInstance(); }

    void bring(const util::SharedPtr<Stone>& stone, const comm::Nullable<std::vector<std::uint8_t>>& dust) override
    {
        last = stone;
        lastHadDust = dust != nullptr;
        ++stones;
        client.template call<&QuarryReply::brought>(std::string{stone ? stone->name : "no stone"}, std::uint64_t{42});
    }

    comm::Result<double> weigh(std::int64_t grams) override
    {
        return grams < 0 ? comm::Result<double>{0, "nothing weighs less than nothing"}
                         : comm::Result<double>{static_cast<double>(grams) / 1000, {}};
    }

    void setDepth(const util::SharedPtr<Stone>& deepest)
    {
        this->template setAttribute<&QuarryReply::updateDepth>(deepest);
    }

    void clientConnected(const Reply& reply) override
    {
        client = reply;
        ++connections;
    }
    void clientDisconnected(const Reply&) override { ++disconnections; }

    Reply client;
    util::SharedPtr<Stone> last;
    bool lastHadDust = false;
    std::atomic<int> stones{0};
    std::atomic<int> connections{0};
    std::atomic<int> disconnections{0};
};

using Service = QuarryService<QuarryDescription>;

/// The other side, on an active object and thus a connection of its own.
class Peer : public QuarryReply, public comm::LifecycleListener
{
public:
    Peer() : proxy{1, m_activeObject.factory(), *this, *this} {}

    void brought(const std::string& text, std::uint64_t number) override
    {
        EXPECT_EQ(number, 42U);
        const std::lock_guard lock{m_mutex};
        m_texts.push_back(text);
    }
    void updateDepth(const util::SharedPtr<Stone>& deepest, bool isValid) override
    {
        const std::lock_guard lock{m_mutex};
        m_texts.push_back((deepest ? deepest->name : "nothing") + (isValid ? " valid" : " invalid"));
    }
    void alive(const comm::Lifecycle& lifecycle) override
    {
        EXPECT_EQ(lifecycle.instanceId, "test.Quarry.instance1");
        ++lives;
    }
    void dead(const comm::Lifecycle&, const comm::DeathNotice& notice) override
    {
        reason = notice.reason;
        ++deaths;
    }

    bool connect() { return proxy.connect(); }
    template <auto function, typename... Args>
    bool call(const Args&... arguments)
    {
        bool accepted = false;
        m_activeObject.run([&] { accepted = proxy.call<function>(arguments...); });
        return accepted;
    }
    void subscribe()
    {
        m_activeObject.run([&] { proxy.requestNotifications(); });
    }
    std::vector<std::string> texts() const
    {
        const std::lock_guard lock{m_mutex};
        return m_texts;
    }

private:
    TestActiveObject m_activeObject;
    mutable std::mutex m_mutex;
    std::vector<std::string> m_texts;

public:
    std::atomic<int> lives{0};
    std::atomic<int> deaths{0};
    std::atomic<std::uint32_t> reason{0};
    comm::ServiceProxy<QuarryDescription> proxy;
};

util::SharedPtr<Stone> stone(std::string name)
{
    auto made = std::make_shared<Stone>();
    made->name = std::move(name);
    made->grains = std::make_shared<std::vector<std::uint8_t>>(3, std::uint8_t{7});
    made->colour = Colour::blue;
    made->sizes = {1, 2, 65535};
    made->round = true;
    return made;
}

std::vector<std::string> busctl(std::vector<std::string> words)
{
    words.insert(words.begin(), {"busctl", "--system"});
    return words;
}

std::vector<std::string> callQuarry(std::vector<std::string> words)
{
    words.insert(words.begin(),
                 {"busctl", "--system", "call", "--", "test.Quarry.instance1", "/test/Quarry/1", "test.Quarry"});
    return words;
}

struct BusTest : testing::Test
{
    CapturedLog log;
    TestBus bus;
    TestActiveObject activeObject;
    Service service;

    void registerService() { ASSERT_FALSE(service.registerInstance(1, activeObject.factory())); }
};

TEST_F(BusTest, EveryKindOfValueArrivesAsItWasSentAndIsAnswered)
{
    registerService();
    Peer peer;
    ASSERT_FALSE(peer.connect());
    ASSERT_TRUE(eventually([&] { return peer.lives == 1; }));

    ASSERT_TRUE(peer.call<&Quarry::bring>(stone("granite"), comm::Nullable<std::vector<std::uint8_t>>{}));
    ASSERT_TRUE(eventually([&] { return peer.texts() == std::vector<std::string>{"granite"}; }));
    activeObject.run([&] {
        EXPECT_EQ(*service.last->grains, (std::vector<std::uint8_t>{7, 7, 7}));
        EXPECT_EQ(service.last->colour, Colour::blue);
        EXPECT_EQ(service.last->sizes, (std::vector<std::uint16_t>{1, 2, 65535}));
        EXPECT_TRUE(service.last->round);
        EXPECT_FALSE(service.lastHadDust);
    });

    comm::Nullable<std::vector<std::uint8_t>> dust;
    static_cast<UInt8Array&>(dust) = CITypesFactory::createUInt8Array(0);
    ASSERT_TRUE(peer.call<&Quarry::bring>(util::SharedPtr<Stone>{}, dust));
    ASSERT_TRUE(eventually([&] { return peer.texts().size() == 2; }));
    EXPECT_EQ(peer.texts()[1], "no stone");
    activeObject.run([&] { EXPECT_TRUE(service.lastHadDust); });
}

TEST_F(BusTest, AServiceThatComesLaterIsFoundAndItsDeathAndReturnAreNoticed)
{
    Peer peer;
    ASSERT_FALSE(peer.connect());
    registerService();
    ASSERT_TRUE(eventually([&] { return peer.lives == 1; }));

    service.unregisterInstance();
    ASSERT_TRUE(eventually([&] { return peer.deaths == 1; }));
    EXPECT_EQ(peer.reason, comm::DeathNotice::died);
    EXPECT_EQ(service.disconnections, 1);
    EXPECT_FALSE(peer.call<&Quarry::weigh>(std::int64_t{1}));

    registerService();
    ASSERT_FALSE(peer.connect());
    EXPECT_TRUE(eventually([&] { return peer.lives == 2; }));
}

TEST_F(BusTest, AClientThatIsKilledIsDisconnected)
{
    registerService();
    ChildProcess client{{"sh", "-c",
                         "dbus-send --bus=\"$DBUS_SYSTEM_BUS_ADDRESS\" --print-reply --dest=test.Quarry.instance1 "
                         "/test/Quarry/1 test.Quarry.connect"}};
    ASSERT_TRUE(eventually([&] { return service.disconnections == 1; }));
    EXPECT_EQ(service.connections, 1);
    activeObject.run([&] {
        EXPECT_FALSE(service.client.isAlive());
        EXPECT_FALSE(service.client.call<&QuarryReply::brought>(std::string{"late"}, std::uint64_t{42}));
    });
}

TEST_F(BusTest, RegistrationsComeBackWithTheBusAndProxiesAreToldOfItsDeath)
{
    registerService();
    Peer peer;
    ASSERT_FALSE(peer.connect());
    ASSERT_TRUE(eventually([&] { return service.connections == 1; }));

    bus.kill();
    ASSERT_TRUE(eventually([&] { return peer.deaths == 1 && service.disconnections == 1; }));
    EXPECT_EQ(peer.reason, comm::DeathNotice::busLost);
    EXPECT_TRUE(peer.connect());
    EXPECT_THAT(ipl::ErrorStorage::reason(), HasSubstr("cannot connect to test.Quarry.instance1"));
    ipl::ErrorStorage::ack();

    bus.start();
    ASSERT_TRUE(eventually([&] { return !peer.connect(); }));
    ASSERT_TRUE(eventually([&] { return peer.lives == 2 && service.connections == 2; }));
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::warning, "is gone, trying again"), 2U) << "one line a connection";
}

TEST_F(BusTest, AServiceRegisteredWithoutABusIsThereWhenTheBusComes)
{
    bus.kill();
    registerService();
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::warning, "test.Quarry.instance1 waits for the bus"), 1U);
    bus.start();
    EXPECT_TRUE(eventually([&] { return outputOf(callQuarry({"weigh", "x", "500"})) == "d 0.5\n"; }));
}

TEST_F(BusTest, ARegistrationIsRefusedWhenTakenForbiddenOrRepeated)
{
    registerService();
    EXPECT_TRUE(service.registerInstance(1, activeObject.factory()));
    EXPECT_EQ(ipl::ErrorStorage::code(), comm::kErrorAlreadyRegistered);
    ipl::ErrorStorage::ack();

    TestActiveObject other;
    Service second;
    EXPECT_TRUE(second.registerInstance(1, other.factory()));
    EXPECT_EQ(ipl::ErrorStorage::code(), static_cast<std::uint32_t>(EADDRINUSE));
    ipl::ErrorStorage::ack();
    EXPECT_FALSE(second.registerInstance(2, other.factory())) << "a refused registration leaves room for another";

    QuarryService<ForbiddenDescription> forbidden;
    EXPECT_TRUE(forbidden.registerInstance(1, other.factory()));
    EXPECT_EQ(ipl::ErrorStorage::code(), static_cast<std::uint32_t>(EACCES));
    ipl::ErrorStorage::ack();
}

TEST_F(BusTest, ABadCallGetsAnErrorAndALineAndNothingIsRun)
{
    registerService();
    EXPECT_THAT(outputOf(callQuarry({"weigh", "s", "heavy"})), HasSubstr("the arguments are \"x\""));
    EXPECT_THAT(outputOf(callQuarry({"weigh", "x", "-5"})), HasSubstr("nothing weighs less than nothing"));
    EXPECT_THAT(outputOf(callQuarry({"bring", "a(sayuaqb)aay", "1", "a", "0", "2", "0", "false", "0"})),
                HasSubstr("Colour"));
    EXPECT_THAT(outputOf(callQuarry({"bring", "a(sayuaqb)aay", "0", "2", "0", "0"})), HasSubstr("more than one value"));
    EXPECT_THAT(outputOf(callQuarry({"dig"})), HasSubstr("dig"));
    EXPECT_THAT(outputOf(callQuarry({"requestNotification", "u", "8"})), HasSubstr("call connect first"));
    EXPECT_EQ(service.stones, 0);
    EXPECT_EQ(log.count("CON_COMM", tracing::Level::warning, "is refused: "), 5U);
}

TEST_F(BusTest, UpdatesOfAnAttributeReachItsSubscribersAndCanBeRead)
{
    registerService();
    Peer peer;
    Peer bystander;
    ASSERT_FALSE(peer.connect());
    ASSERT_FALSE(bystander.connect());
    ASSERT_TRUE(eventually([&] { return peer.lives == 1 && bystander.lives == 1; }));
    activeObject.run([&] { service.setDepth(stone("slate")); });
    peer.subscribe();
    ASSERT_TRUE(eventually([&] { return peer.texts() == std::vector<std::string>{"slate valid"}; }));
    activeObject.run([&] { service.setDepth(nullptr); });
    ASSERT_TRUE(eventually([&] { return peer.texts() == std::vector<std::string>{"slate valid", "nothing valid"}; }));
    EXPECT_TRUE(bystander.texts().empty());

    EXPECT_EQ(outputOf(busctl({"get-property", "test.Quarry.instance1", "/test/Quarry/1", "test.Quarry", "Depth"})),
              "(a(sayuaqb)b) 0 true\n");
}

TEST_F(BusTest, AnEngineerFindsServiceObjectMethodsAndNumbers)
{
    registerService();
    EXPECT_THAT(outputOf(busctl({"tree", "test.Quarry.instance1"})), HasSubstr("/test/Quarry/1"));
    const auto methods = outputOf(busctl({"introspect", "test.Quarry.instance1", "/test/Quarry/1"}));
    EXPECT_THAT(methods, testing::ContainsRegex("\\.bring +method +a\\(sayuaqb\\)aay"));
    EXPECT_THAT(methods, testing::ContainsRegex("\\.weigh +method +x +d"));
    EXPECT_THAT(methods, testing::ContainsRegex("\\.Depth +property"));
    const auto document = outputOf(busctl(
        {"call", "test.Quarry.instance1", "/test/Quarry/1", "org.freedesktop.DBus.Introspectable", "Introspect"}));
    EXPECT_THAT(document,
                HasSubstr("<method name=\\\"bring\\\">\\n   <annotation name=\\\"comm.Id\\\" value=\\\"7\\\"/>"));
}

TEST_F(BusTest, SignalsOfAnybodyButTheServiceAreNotTaken)
{
    registerService();
    Peer peer;
    ASSERT_FALSE(peer.connect());
    ASSERT_TRUE(eventually([&] { return service.connections == 1 && peer.lives == 1; }));
    const auto names = outputOf(busctl({"list", "--unique", "--no-legend"}));
    for (std::size_t at = 0; (at = names.find(":1.", at)) != std::string::npos; ++at) {
        const auto name = names.substr(at, names.find(' ', at) - at);
        outputOf(busctl(
            {"emit", "--destination=" + name, "/test/Quarry/1", "test.QuarryReply", "brought", "st", "forged", "42"}));
    }
    ASSERT_TRUE(peer.call<&Quarry::bring>(stone("real"), comm::Nullable<std::vector<std::uint8_t>>{}));
    ASSERT_TRUE(eventually([&] { return !peer.texts().empty(); }));
    EXPECT_EQ(peer.texts(), std::vector<std::string>{"real"});
}

TEST_F(BusTest, ABusThatDoesNotReadMakesSendingFailAndNotTheMemoryGrow)
{
    registerService();
    Peer peer;
    ASSERT_FALSE(peer.connect());
    ASSERT_TRUE(eventually([&] { return service.connections == 1; }));
    ASSERT_EQ(kill(bus.pid(), SIGSTOP), 0);
    const std::string text(4000, 'x');
    int accepted = 0;
    activeObject.run([&] {
        while (accepted < 100'000 && service.client.call<&QuarryReply::brought>(text, std::uint64_t{42})) {
            ++accepted;
        }
    });
    EXPECT_LT(accepted, 5'000);
    ASSERT_EQ(kill(bus.pid(), SIGCONT), 0);
    EXPECT_TRUE(eventually([&] { return peer.texts().size() == static_cast<std::size_t>(accepted); }))
        << "what was accepted arrives";
}

TEST_F(BusTest, AnEmptyRegistrationDoesNothingAndSaysSo)
{
    service.unregisterInstance();
    comm::ServiceRegistration empty;
    EXPECT_TRUE(empty.registerService());
    EXPECT_TRUE(empty.unregisterService());
    EXPECT_FALSE(empty.isAlive());
    ipl::ErrorStorage::ack();
}

} // namespace
