#include "ProcFsText.h"

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

using namespace ids;
using namespace ids::proc_fs;

namespace {

std::int32_t residentSize(const std::string& status, std::size_t piece)
{
    SProcStat stat;
    std::string held;
    for (std::size_t at = 0; at < status.size(); at += piece) {
        held += status.substr(at, piece);
        held.erase(0, parseStatusLines(held, stat));
    }
    parseStatusLine(held, stat);
    return stat.vmRss;
}

TEST(ProcFsTextTest, SharesAreOfTheWholeLifeAndNoneInTheFirstMoment)
{
    const std::string text = "4711 (a) b)\nS) S 17 1 1 0 -1 4 1 2 3 4 1050 210 0 0 20 0 6 0 50000 8589938688 99";
    for (const double uptime : {700.0, 500.0, 499.0, HUGE_VAL, std::nan("")}) {
        SProcStat stat;
        ASSERT_TRUE(parseStat(text, uptime, stat));
        EXPECT_DOUBLE_EQ(stat.userCpuUsage, uptime == 700.0 ? 5.25 : 0) << uptime;
        EXPECT_DOUBLE_EQ(stat.systemCpuUsage, uptime == 700.0 ? 1.05 : 0) << uptime;
    }
    EXPECT_EQ(parseUptime(" 12345.67 4.5\n"), 12345.67);
    EXPECT_EQ(parseUptimeSeconds("12345.67 4.5\n"), 12345U);
    EXPECT_FALSE(parseUptime("up\n"));
}

TEST(ProcFsTextTest, ResidentSizeIsTakenFromItsLineHoweverTheFileComes)
{
    const std::string before = "Name:\tVmRSS: 9\nVmRSS 8\nGroups:\t" + std::string(5000, '7') + "\nxVmRSS:\t6 kB\n";
    for (const std::size_t piece : {1U, 98U, 100U, 10000U}) {
        EXPECT_EQ(residentSize(before + "VmRSS:\t   70000 kB\nThreads:\t1\n", piece), 70000);
        EXPECT_EQ(residentSize(before + "VmRSS:\t5", piece), 5);
        EXPECT_EQ(residentSize(before, piece), 0);
        EXPECT_EQ(residentSize(std::string(99, 'x') + "VmRSS: 4\n", piece), 4); // a line has 99 characters at most
    }
}

TEST(ProcFsTextTest, FieldsOfAnyContentsAreReadAsScanfReadsThem)
{
    const std::string kCharacters = "0123456789012345678901234567890123456789     \t\n-+.S)(\x01\xff";
    const auto head = std::string(63, '(') + ")"; // as long as it may be: no later parenthesis counts
    std::mt19937 random{1};
    for (int round = 0; round < 5000; ++round) {
        std::string tail;
        for (auto length = random() % 400; length > 0; --length) {
            tail += kCharacters[random() % kCharacters.size()];
        }
        SProcStat stat;
        SProcStat scanned;
        const bool taken = parseStat(head + tail, 1e6, stat);
        const auto fields =
            std::sscanf(tail.c_str(),
                        " %c %d %*d %*d %*d %*d %*u %*u %*u %*u %*u %u %u %d %d %d %d %u %*d %u %u %*d %*u %*u "
                        "%*u %*u%*u %*u %*u %*u%*u %*u %*u %*u%*u %*d %d %*u",
                        &scanned.state, &scanned.ppid, &scanned.utime, &scanned.stime, &scanned.cutime, &scanned.cstime,
                        &scanned.priority, &scanned.nice, &scanned.numThreads, &scanned.starttime, &scanned.vsize,
                        &scanned.processor);
        const auto all = [](const SProcStat& s) {
            return std::tuple{s.state,    s.ppid, s.utime,      s.stime,     s.cutime, s.cstime,
                              s.priority, s.nice, s.numThreads, s.starttime, s.vsize,  s.processor};
        };
        ASSERT_EQ(taken, fields != EOF) << tail;
        ASSERT_EQ(all(stat), all(scanned)) << tail;
        ASSERT_TRUE(std::isfinite(stat.userCpuUsage + stat.systemCpuUsage)) << tail;
    }
    SProcStat stat;
    EXPECT_FALSE(parseStat("(" + head + " S 1", 1, stat)); // the name is too long
}

} // namespace
