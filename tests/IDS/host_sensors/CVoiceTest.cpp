#include "CVoice.h"

#include <gmock/gmock.h>

#include "CVoiceAsiClient.h"
#include "CapturedLog.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace test_support;
using namespace asi::connectivity::configuration;
using testing::ElementsAre;

using Names = std::vector<std::string>;
using List = comm::Nullable<QuorServices>;

/// A list of these names. "null" stands for an entry that is null, "nameless" for one whose name is.
List list(const Names& names)
{
    const List services{new QuorServices};
    for (const auto& name : names) {
        services->push_back(name == "null" ? nullptr : std::make_shared<QuorService>());
        if (name != "null" && name != "nameless") {
            services->back()->p_serviceName = std::make_shared<std::string>(name);
        }
    }
    return services;
}

/// What is reported, each event as the kind of its change and the names.
Names changes(const RecordingIdsm& idsm)
{
    Names all;
    for (std::size_t i = 0; i < idsm.events().size(); ++i) {
        all.push_back(std::to_string(idsm.field(i, "kind").integer()) + ":" + idsm.field(i, "services").text());
    }
    return all;
}

Names changesOf(const std::vector<List>& lists)
{
    RecordingIdsm idsm;
    ids::CVoice voice{idsm};
    for (const auto& services : lists) {
        voice.updateQuorServices(list({"invalid"}), false);
        voice.updateQuorServices(services, true);
    }
    return changes(idsm);
}

TEST(CVoiceTest, WhatAppearsAndWhatGoesIsReportedFromTheSecondListOn)
{
    EXPECT_THAT(changesOf({list({"mqtt", "vts", "x"}), list({"X", "MQTT", "mqtt", "VTS"})}), ElementsAre("1:", "0:"));
    EXPECT_THAT(changesOf({list({"b", "a"}), nullptr, list({"b", "C", "a"})}),
                ElementsAre("1:", "0:a;b", "1:a;b;C", "0:"));
    Names old, now;
    for (int i = 0; i < 1000; ++i) {
        const auto name = "service" + std::to_string(i * 7919 % 1000);
        old.insert(old.end(), {name, "nameless"});
        now.insert(now.begin(), {"null", i == 500 ? "new" : name, "nameless"});
    }
    EXPECT_THAT(changesOf({list(old), list(now)}), ElementsAre("1:new", "0:service500"));

    RecordingIdsm idsm;
    const ids::CVoice voice{idsm};
    EXPECT_TRUE(tracing::CallbackDispatcher::trigger("ids::CVoice", "onServiceListChanged"));
    EXPECT_THAT(changes(idsm), ElementsAre("1:era;euecall", "0:ecall;vts"));
}

struct Configuration final : QuorConfigurationSAttr
{
    ~Configuration() override { unregisterInstance(); }
    using QuorConfigurationSAttr::registerInstance;
    void set(const List& services) { setAttribute<&QuorConfigurationReply::updateQuorServices>(services); }
};

TEST(CVoiceTest, TheClientTellsOfEveryListOfTheConfigurationService)
{
    const CapturedLog log;
    const TestBus bus;
    const TestActiveObject peer, activeObject;
    Configuration configuration;
    RecordingIdsm idsm;
    ids::CVoice voice{idsm};
    std::unique_ptr<ids::CVoiceAsiClient> client;
    ASSERT_FALSE(configuration.registerInstance(1, peer.factory()));
    peer.run([&] { configuration.set(nullptr); });
    activeObject.run([&] {
        client = std::make_unique<ids::CVoiceAsiClient>(activeObject.factory());
        client->addListener(&voice);
        client->start();
    });
    EXPECT_TRUE(log.waitFor("QuorServices received (size: 0), isValid: true"));
    peer.run([&] { configuration.set(list({"a", "b"})); });
    EXPECT_TRUE(log.waitFor("QuorServices received (size: 2), isValid: true"));
    peer.run([&] { configuration.set(list({"null", "nameless", "b"})); });
    EXPECT_TRUE(log.waitFor("QuorServices received (size: 3), isValid: true"));
    activeObject.run([&] { client.reset(); });
    EXPECT_THAT(changes(idsm), ElementsAre("1:", "0:a")) << "no list is not the first list";
}

} // namespace
