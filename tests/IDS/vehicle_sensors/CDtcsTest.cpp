#include "CDtcs.h"

#include <gtest/gtest.h>

#include "CDtcsAsiClient.h"
#include "ClientOnBus.h"
#include "RecordingIdsm.h"

namespace {

using namespace asi::connectivity::diagnostic;
using namespace test_support;

constexpr auto kChannel = "CON_IDS_SENSOR_HOST";
constexpr auto kFound = "): Report event.";

util::SharedPtr<Dtcs> dtcs(std::initializer_list<Dtc> entries)
{
    const auto all = std::make_shared<Dtcs>(1); // its first entry is absent
    for (const auto& entry : entries) {
        all->push_back(std::make_shared<Dtc>(entry));
    }
    return all;
}

TEST(CDtcsTest, OnlyAPresentGnssFailureInAValidUpdateIsFound)
{
    RecordingIdsm idsm;
    ids::CDtcs sensor{idsm};
    ClientOnBus<ids::CDtcsAsiClient, ids::CDtcs> client{sensor};
    const auto lines = [&](const char* text) { return client.log.count(kChannel, tracing::Level::progress, text); };
    const auto failures = dtcs({{0x20006, 1}, {0x20007, 1}, {0x20007, 1}});
    sensor.updateDtcs(failures, false);
    sensor.updateDtcs(nullptr, true);
    sensor.updateDtcs(dtcs({{0x20007, 0}, {0x20006, 1}}), true);
    EXPECT_EQ(lines("ids::CDtcs::updateDtcs("), 3U);
    EXPECT_EQ(lines("): DTCs are: valid, isValid: false"), 1U);
    EXPECT_EQ(lines("): DTCs are: <invalid>, isValid: true"), 1U);
    EXPECT_EQ(lines(kFound), 0U);

    ProvidedService<DiagnosticDtcsSAttr> service;
    service.set<&DiagnosticDtcsReply::updateDtcs>(failures);
    ASSERT_TRUE(client.log.waitFor(kFound));
    EXPECT_EQ(client.log.count("CON_IDS_ASI", tracing::Level::progress, "): ASI CDtcsAsiClient is alive."), 1U);
    service.set<&DiagnosticDtcsReply::updateDtcs>(util::SharedPtr<Dtcs>{});
    EXPECT_TRUE(eventually([&] { return lines("): DTCs are: <invalid>, isValid: true") == 2; }));
    EXPECT_EQ(lines(kFound), 1U) << "once for an update";
    EXPECT_TRUE(idsm.events().empty());
}

} // namespace
